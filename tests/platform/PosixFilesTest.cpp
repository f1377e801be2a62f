#include "platform/posix/PosixFiles.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>

#include "platform/posix/OwnedDescriptor.h"
#include "tests/platform/FilesFixture.h"

namespace tlk {

constexpr uid_t kNobody = 65534;

using PosixFilesTest = FilesFixture;

TEST_F(PosixFilesTest, RefusesAPipeAndTellsThatAFullDeviceTookNothing) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(Append("pipe"), append_result::kNotOpened);
  const OwnedDescriptor reader(open(Path("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  EXPECT_EQ(Append("pipe"), append_result::kNotOpened);
  EXPECT_EQ(Append("/dev/full"), append_result::kNotWritten);
  EXPECT_EQ(Append("/dev/null"), 0);
  for (const std::string& path : {Path("pipe"), Path(""), std::string("/dev/null")})
    EXPECT_FALSE(m_files.Read(path, [](std::string_view) {}));
}

// Others may have given one of the user's own files, or links, the log's name.
TEST_F(PosixFilesTest, KeepsItsFileToItsUserAndLeavesOneThatHasAnotherName) {
  EXPECT_EQ(Append("a.log"), 5);
  EXPECT_EQ(fs::status(Path("a.log")).permissions(), fs::perms(0600));
  std::int64_t size = 5;
  for (const int others : {0666, 0601}) {
    fs::permissions(Path("a.log"), fs::perms(others));
    EXPECT_EQ(Append("a.log", ""), ++size);
    EXPECT_EQ(fs::status(Path("a.log")).permissions(), fs::perms(0600));
  }
  fs::create_symlink(Path("a.log"), Path("link"));
  EXPECT_EQ(Append("link"), 12);
  ASSERT_EQ(link(Path("link").c_str(), Path("second-link").c_str()), 0);
  fs::create_hard_link(Path("a.log"), Path("b.log"));
  for (const char* name : {"second-link", "a.log", "b.log"})
    EXPECT_EQ(Append(name), append_result::kNotOpened);
}

TEST_F(PosixFilesTest, TakesATornLineBackAndSurvivesTheSignal) {
  rlimit usual{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
  const rlimit tight{10, usual.rlim_max};
  EXPECT_EQ(Append("a.log"), 5);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
  EXPECT_EQ(Append("a.log", "too long for it"), append_result::kNotWritten);
  EXPECT_EQ(Append("a.log", "fit"), 9);
  EXPECT_EQ(Append("a.log"), append_result::kNotWritten);  // One byte of it went out.
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
  EXPECT_EQ(ContentOf("a.log"), "line\nfit\n");
  sigset_t pending;
  ASSERT_EQ(sigpending(&pending), 0);
  EXPECT_EQ(sigismember(&pending, SIGXFSZ), 0);
}

// Whoever may write to the folder could read the log of another user, or have it written into that
// user's files.
TEST_F(PosixFilesTest, LeavesWhatIsNotItsUsersAndFailsAtOnceWithoutRights) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  for (const char* folder : {"closed", "read-only"}) fs::create_directory(Path(folder));
  for (const char* name : {"own", "read-only/own", "own-read-only", "of-root", "of-root-for-all"})
    EXPECT_EQ(Append(name), 5);
  for (const char* name : {"own", "read-only/own", "own-read-only"})
    ASSERT_EQ(chown(Path(name).c_str(), kNobody, kNobody), 0);
  for (const char* link : {"root-link", "link"}) fs::create_symlink(Path("of-root"), Path(link));
  ASSERT_EQ(lchown(Path("link").c_str(), kNobody, kNobody), 0);
  for (const char* name : {"own", "link"}) EXPECT_EQ(Append(name), append_result::kNotOpened);
  EXPECT_EQ(Append("root-link"), 10);

  for (const auto& [name, mode] :
       {std::pair("", 0755), {"closed", 0700}, {"own-read-only", 0400}, {"of-root-for-all", 0666}})
    fs::permissions(Path(name), fs::perms(mode));
  const auto appendAsNobody = [this] {
    EXPECT_EQ(setresuid(kNobody, kNobody, kNobody), 0);
    for (const char* name : {"closed/new", "read-only/new", "own-read-only", "of-root"})
      EXPECT_EQ(Append(name), append_result::kNotOpened);
    for (const char* name : {"own", "read-only/own", "of-root-for-all"})
      EXPECT_EQ(Append(name), 10);
    std::_Exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(appendAsNobody(), testing::ExitedWithCode(0), "");
}

}  // namespace tlk
