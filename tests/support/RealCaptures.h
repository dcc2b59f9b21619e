// The captures of real programs: those in the tree, and more where an environment variable says so.
#ifndef DCAPKIT_TESTS_REALCAPTURES_H
#define DCAPKIT_TESTS_REALCAPTURES_H

#include <cstdlib>
#include <filesystem>
#include <vector>

inline std::vector<std::filesystem::path> RealCaptures() {
  std::vector<std::filesystem::path> folders = {std::filesystem::path(DCAPKIT_SOURCE_DIR) /
                                                "tests/captures"};
  const char* more = std::getenv("DCAPKIT_CAPTURES_DIR");
  if (more != nullptr && *more != '\0') folders.emplace_back(more);
  std::vector<std::filesystem::path> captures;
  for (const std::filesystem::path& folder : folders) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".dcap") captures.push_back(entry.path());
    }
  }
  return captures;
}

#endif  // DCAPKIT_TESTS_REALCAPTURES_H
