#include "SharedOptions.h"

#include <functional>
#include <stdexcept>
#include <string>

#include "inspect/events/CallClasses.h"
#include "inspect/walk/Threads.h"

namespace {

// Adds an option whose values, if it is given several times, are joined to one list. An
// std::invalid_argument that `set` throws becomes a usage error.
void AddListOption(CLI::App* command, const std::string& name, const std::string& description,
                   const std::string& form, const std::function<void(const std::string&)>& set) {
  const auto parse = [name, set](const std::string& text) {
    try {
      set(text);
    } catch (const std::invalid_argument& error) {
      throw CLI::ValidationError(name, error.what());
    }
  };
  command->add_option_function<std::string>(name, parse, description)
      ->type_name(form)
      ->join()
      ->group("Selection");
}

}  // namespace

void AddSelectionOptions(CLI::App* command, Inspect::Selection* selection) {
  AddListOption(
      command, "--frames", "ordinals of frames, from 1; 0 for set-up calls", "10-20,35,100-",
      [selection](const std::string& text) { selection->frames = Inspect::Ranges(text); });
  AddListOption(
      command, "--threads", "recorded thread ids", "1,4101",
      [selection](const std::string& text) { selection->threads = Inspect::Ranges(text); });
  AddListOption(command, "--calls", "calls and metadata records by name, all but those with a !",
                "'glDraw*,!glGet*'",
                [selection](const std::string& text) { selection->SetCalls(text); });
  std::string choices;
  std::string names;
  for (const Data::CallClass known : Inspect::kCallClasses) {
    const std::string gap = choices.empty() ? "" : ",";
    choices += gap + Data::CallClassName(known);
    names += gap + " " + Data::CallClassName(known);
  }
  AddListOption(command, "--class", "classes of calls:" + names, "draw,upload:{" + choices + "}",
                [selection](const std::string& text) { selection->SetClasses(text); });
}

void AddJobsOption(CLI::App* command, unsigned* jobs) {
  command->add_option("--jobs", *jobs, "threads; as many as there are cores unless given")
      ->check(CLI::Range(1u, Inspect::kMaxThreads))
      ->type_name("N");
}
