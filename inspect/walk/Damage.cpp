#include "inspect/walk/Damage.h"

#include <cstdio>
#include <string_view>

#include <sys/stat.h>

#include "Command.h"

namespace {

std::string Describe(const Place& place) {
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

// As the shell takes it for one word.
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

int ReportDamage(const std::string& path, const Place& place, const std::string& cause) {
  std::fprintf(stderr, "dcap: %s: %s%s\n", path.c_str(), Describe(place).c_str(), cause.c_str());
  const uint32_t whole = place.frame - (place.inFrame ? 1 : 0);
  // What came through a pipe cannot be read again.
  if (place.offset != 0 && whole != 0 && IsFile(path)) {
    std::fprintf(stderr,
                 "dcap: To save what comes before: dcap trim --frames 0-%u -o saved.dcap %s\n",
                 whole, Quote(path).c_str());
  }
  return kExitFailure;
}
