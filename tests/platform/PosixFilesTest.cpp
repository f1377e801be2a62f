#include "platform/posix/PosixFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

class PosixFilesTest : public testing::Test {
 protected:
  PosixFilesTest() { fs::create_directory(m_folder); }
  ~PosixFilesTest() override { fs::remove_all(m_folder); }

  [[nodiscard]] std::string Path(const char* name) const { return (m_folder / name).string(); }

  PosixFiles m_files;

 private:
  const fs::path m_folder = fs::path(testing::TempDir()) / ("posix" + std::to_string(getpid()));
};

TEST_F(PosixFilesTest, RefusesAPipeAndTellsThatAFullDeviceTookNothing) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(m_files.AppendLine(Path("pipe"), "line"), append_result::kNotOpened);
  const OwnedDescriptor reader(open(Path("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  EXPECT_EQ(m_files.AppendLine(Path("pipe"), "line"), append_result::kNotOpened);
  EXPECT_EQ(m_files.AppendLine("/dev/full", "line"), append_result::kNotWritten);
  EXPECT_EQ(m_files.AppendLine("/dev/null", "line"), 0);
  for (const std::string& path : {Path("pipe"), Path(""), std::string("/dev/null")})
    EXPECT_FALSE(m_files.Read(path, [](std::string_view) {}));
}

// Others may have given one of the user's own files, or links, the log's name.
TEST_F(PosixFilesTest, KeepsItsFileToItsUserAndLeavesOneThatHasAnotherName) {
  ASSERT_EQ(m_files.AppendLine(Path("a.log"), ""), 1);
  fs::permissions(Path("a.log"), fs::perms(0666));
  EXPECT_EQ(m_files.AppendLine(Path("a.log"), "line"), 6);
  EXPECT_EQ(fs::status(Path("a.log")).permissions(), fs::perms(0600));
  fs::create_symlink(Path("a.log"), Path("link"));
  ASSERT_EQ(link(Path("link").c_str(), Path("second-link").c_str()), 0);
  EXPECT_EQ(m_files.AppendLine(Path("second-link"), "line"), append_result::kNotOpened);
  fs::create_hard_link(Path("a.log"), Path("b.log"));
  for (const char* name : {"a.log", "b.log"})
    EXPECT_EQ(m_files.AppendLine(Path(name), "line"), append_result::kNotOpened);
}

TEST_F(PosixFilesTest, TakesATornLineBackAndSurvivesTheSignal) {
  rlimit usual{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
  const rlimit tight{12, usual.rlim_max};
  ASSERT_EQ(m_files.AppendLine(Path("a.log"), "kept"), 5);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
  EXPECT_EQ(m_files.AppendLine(Path("a.log"), "too long for it"), append_result::kNotWritten);
  EXPECT_EQ(m_files.AppendLine(Path("a.log"), "fits!!"), 12);
  EXPECT_EQ(m_files.AppendLine(Path("a.log"), ""), append_result::kNotWritten);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
  sigset_t pending;
  ASSERT_EQ(sigpending(&pending), 0);
  EXPECT_EQ(sigismember(&pending, SIGXFSZ), 0);
}

/// Ends the process with 0 when another user's appending to these files comes out so.
[[noreturn]] void AppendAsNobody(const std::map<std::string, std::int64_t>& results) {
  bool isSo = setresuid(kNobody, kNobody, kNobody) == 0;
  PosixFiles files;
  for (const auto& [path, expected] : results) {
    const std::int64_t result = files.AppendLine(path, "line");
    if (result != expected) std::fprintf(stderr, "%s: %ld\n", path.c_str(), long{result});
    isSo = isSo && result == expected;
  }
  std::_Exit(isSo ? 0 : 1);
}

TEST_F(PosixFilesTest, FailsAtOnceWhereTheUserHasNoRights) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  fs::permissions(fs::path(Path("")), fs::perms(0755));
  for (const char* name : {"closed", "read-only"}) fs::create_directory(Path(name));
  fs::permissions(Path("closed"), fs::perms(0700));
  for (const char* name : {"own", "read-only/own", "own-read-only", "of-root"}) {
    ASSERT_EQ(m_files.AppendLine(Path(name), ""), 1);
    ASSERT_EQ(chown(Path(name).c_str(), kNobody, kNobody), 0);
  }
  ASSERT_EQ(chown(Path("of-root").c_str(), 0, 0), 0);
  fs::permissions(Path("own-read-only"), fs::perms(0400));
  EXPECT_EXIT(AppendAsNobody({{Path("closed/new"), append_result::kNotOpened},
                              {Path("read-only/new"), append_result::kNotOpened},
                              {Path("own-read-only"), append_result::kNotOpened},
                              {Path("of-root"), append_result::kNotOpened},
                              {Path("read-only/own"), 6},
                              {Path("own"), 6}}),
              testing::ExitedWithCode(0), "");
}

// Whoever may write to the folder could read the log of another user, or have it written into that
// user's files.
TEST_F(PosixFilesTest, LeavesWhatOthersPutInTheLogsPlace) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file to another user";
  ASSERT_EQ(m_files.AppendLine(Path("a.log"), ""), 1);
  EXPECT_EQ(fs::status(Path("a.log")).permissions(), fs::perms(0600));
  for (const char* link : {"own-link", "link"}) fs::create_symlink(Path("a.log"), Path(link));
  ASSERT_EQ(lchown(Path("link").c_str(), kNobody, kNobody), 0);
  EXPECT_EQ(m_files.AppendLine(Path("link"), "line"), append_result::kNotOpened);
  EXPECT_EQ(m_files.AppendLine(Path("own-link"), "line"), 6);
  ASSERT_EQ(chown(Path("a.log").c_str(), kNobody, kNobody), 0);
  ASSERT_EQ(m_files.AppendLine(Path("b.log"), "equal"), 6);  // An equal size does not make it ours.
  EXPECT_EQ(m_files.AppendLine(Path("a.log"), "line"), append_result::kNotOpened);
}

}  // namespace
}  // namespace tlk
