// A folder for the files of a test.
#ifndef DCAPKIT_TESTS_TEMPORARYFOLDER_H
#define DCAPKIT_TESTS_TEMPORARYFOLDER_H

#include <cstdlib>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>

/// An empty folder that goes, with all that is in it, when the object does.
class TemporaryFolder {
 public:
  TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "dcapkit-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] std::string PathOf(const std::string& name) const { return path_ + "/" + name; }

  /// The names of what is in it.
  [[nodiscard]] std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.insert(entry.path().filename());
    }
    return names;
  }

 private:
  std::string path_;
};

#endif  // DCAPKIT_TESTS_TEMPORARYFOLDER_H
