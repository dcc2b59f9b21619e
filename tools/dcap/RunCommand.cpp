#include "RunCommand.h"

#include <cstdio>
#include <exception>
#include <string_view>

#include <sys/stat.h>

#include "inspect/listing/OutputError.h"

namespace {

std::string Describe(const Inspect::Place& place) {
  if (place.offset == 0) return "";
  std::string text = "offset " + std::to_string(place.offset) + ": ";
  if (place.frame != 0) {
    text += (place.inFrame ? "in frame " : "after frame ") + std::to_string(place.frame) +
            " (number " + std::to_string(place.number) + "): ";
  }
  return text;
}

bool IsFile(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Quotes a word for the shell, if need be.
std::string Quote(const std::string& word) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_./+,:@%-";
  if (word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char character : word) {
    if (character == '\'') quoted += "'\\'";
    quoted += character;
  }
  return quoted + "'";
}

}  // namespace

ExitStatus RunCommand(const std::string& path, const std::function<ExitStatus()>& work) {
  try {
    return work();
  } catch (const Inspect::OutputError& error) {
    if (error.IsBrokenPipe()) return kExitOk;
    std::fprintf(stderr, "dcap: %s\n", error.what());
    return kExitFailure;
  } catch (const std::exception&) {
    return ReportDamage(path, Inspect::CurrentDamage({}));
  }
}

void ReportState(const std::string& path, const Inspect::Capture& capture) {
  const Data::CaptureRecovery& recovery = capture.Recovery();
  if (const std::string state = Inspect::DescribeState(recovery); !state.empty()) {
    std::fprintf(stderr, "dcap: %s: %s%s\n", path.c_str(), state.c_str(),
                 recovery.damaged ? "" : "; read as if finalised (see 'dcap finalize')");
  }
}

ExitStatus ReportDamage(const std::string& path, const Inspect::Damage& damage) {
  const Inspect::Place& place = damage.place;
  std::fprintf(stderr, "dcap: %s: %s%s\n", path.c_str(), Describe(place).c_str(),
               damage.cause.c_str());
  const uint32_t whole = place.frame - (place.inFrame ? 1 : 0);
  // A capture that came through a pipe cannot be read again.
  if (place.offset != 0 && whole != 0 && IsFile(path)) {
    std::fprintf(stderr,
                 "dcap: To save what comes before: dcap trim --frames 0-%u -o saved.dcap %s\n",
                 whole, Quote(path).c_str());
  }
  return kExitFailure;
}

ExitStatus StatusOf(const Inspect::Capture& capture) {
  const Data::CaptureRecovery& recovery = capture.Recovery();
  return recovery.damaged ? kExitFailure : recovery.IsCut() ? kExitIncomplete : kExitOk;
}

ExitStatus ReportEnd(const std::string& path, const Inspect::Capture& capture,
                     const std::optional<Inspect::Damage>& damage) {
  return damage ? ReportDamage(path, *damage) : StatusOf(capture);
}
