#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "inspect/listing/OutputError.h"
#include "output/OutputFile.h"
#include "support/TemporaryFolder.h"
#include "support/Test.h"

namespace {

namespace fs = std::filesystem;

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Write(OutputFile* file, const std::string& text) {
  EXPECT_EQ(file->Writer()->Write(text.data(), text.size()), text.size());
}

class OutputFileTest : public testing::Test {
 protected:
  void WriteOld(fs::perms mode) {
    std::ofstream(path_) << "old";
    fs::permissions(path_, mode);
  }

  TemporaryFolder folder_;
  std::string path_ = folder_ / "out";
};

// The super-user may write everything; nobody may not.
class Unprivileged {
 public:
  explicit Unprivileged(const TemporaryFolder& folder) : user_(geteuid()) {
    fs::permissions(folder.Path(), fs::perms::all);
    if (user_ != 0) return;
    for (const std::string& name : folder.Names()) {
      EXPECT_EQ(chown((folder / name).c_str(), kNobody, static_cast<gid_t>(-1)), 0);
    }
    EXPECT_EQ(seteuid(kNobody), 0);
  }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;
  ~Unprivileged() { EXPECT_EQ(seteuid(user_), 0); }

 private:
  static constexpr uid_t kNobody = 65534;
  uid_t user_;
};

TEST_F(OutputFileTest, TakesTheNameWhenCommittedAndNotBefore) {
  WriteOld(fs::perms{0640});
  {
    OutputFile file(path_);
    Write(&file, "new");
    EXPECT_EQ(Contents(path_), "old");
    EXPECT_EQ(folder_.Names().size(), 2u);
    file.Commit();
    EXPECT_EQ(Contents(path_), "new");
    EXPECT_EQ(fs::status(path_).permissions(), fs::perms{0640});
  }
  EXPECT_THAT(folder_.Names(), ElementsAre("out"));
}

TEST_F(OutputFileTest, AReadOnlyFileIsReplacedByAReadOnlyFile) {
  WriteOld(fs::perms{0444});
  const Unprivileged user(folder_);
  OutputFile file(path_);
  Write(&file, "new");
  file.Commit();
  EXPECT_EQ(Contents(path_), "new");
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms{0444});
}

TEST_F(OutputFileTest, WhatTheUserMayNotReadIsWrittenAllTheSame) {
  const mode_t mask = umask(0777);
  {
    const Unprivileged user(folder_);
    OutputFile file(path_);
    Write(&file, "new");
    file.Commit();
  }
  umask(mask);
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms::none);
}

// The process may open one file more, which is the unfinished one; the writer cannot open it again.
TEST_F(OutputFileTest, AWriterThatCannotBeOpenedLeavesNothing) {
  WriteOld(fs::perms{0644});
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const int next = dup(STDERR_FILENO);
  close(next);
  const rlimit tight{static_cast<rlim_t>(next) + 1, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
  std::string message;
  try {
    const OutputFile file(path_);
  } catch (const Inspect::OutputError& error) {
    message = error.what();
  }
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(message, "Cannot write " + path_ + ": Too many open files");
  EXPECT_THAT(folder_.Names(), ElementsAre("out"));
}

TEST_F(OutputFileTest, AFolderOrAMissingOneIsRefused) {
  EXPECT_THROW(OutputFile(folder_.Path()), Inspect::OutputError);
  EXPECT_THROW(OutputFile(folder_ / "none/out"), Inspect::OutputError);
  EXPECT_THAT(folder_.Names(), IsEmpty());
}

TEST_F(OutputFileTest, ASignalRemovesTheUnfinishedFileAlone) {
  WriteOld(fs::perms{0644});
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const pid_t child = fork();
    if (child == 0) {
      OutputFile committed(folder_ / "done");
      committed.Commit();
      const OutputFile file(path_);
      raise(signal);
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
    EXPECT_THAT(folder_.Names(), ElementsAre("done", "out"));
    EXPECT_EQ(Contents(path_), "old");
  }
}

}  // namespace
