#include "platform/posix/PosixFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {
namespace {

namespace fs = std::filesystem;

class PosixFilesTest : public testing::Test {
 protected:
  PosixFilesTest() {
    std::string pattern = testing::TempDir() + "tlk-posix-files-XXXXXX";
    m_folder = mkdtemp(pattern.data());
  }
  ~PosixFilesTest() override { fs::remove_all(m_folder); }

  [[nodiscard]] std::string Path(const char* name) const { return (m_folder / name).string(); }

  PosixFiles m_files;

 private:
  fs::path m_folder;
};

TEST_F(PosixFilesTest, GivesANewFileTheUsualMode) {
  const mode_t before = umask(S_IWGRP | S_IROTH);
  ASSERT_EQ(m_files.AppendLine(Path("a.log"), "line"), 5);
  umask(before);
  EXPECT_EQ(fs::status(Path("a.log")).permissions(),
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(PosixFilesTest, RefusesAPipeWithAndWithoutAReader) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(m_files.AppendLine(Path("pipe"), "line"), append_result::kNotOpened);
  const OwnedDescriptor reader(open(Path("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  ASSERT_TRUE(reader.IsOpen());
  EXPECT_EQ(m_files.AppendLine(Path("pipe"), "line"), append_result::kNotOpened);
}

TEST_F(PosixFilesTest, TellsThatAFullDeviceTookNothing) {
  fs::create_symlink("/dev/full", Path("full.log"));
  EXPECT_EQ(m_files.AppendLine(Path("full.log"), "line"), append_result::kNotWritten);
  EXPECT_EQ(m_files.AppendLine("/dev/null", "line"), 0);
}

/// A limit on the size of files for as long as it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit limit{bytes, m_before.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit m_before{};
};

TEST_F(PosixFilesTest, TakesATornLineBackAndSurvivesTheSignal) {
  const std::string path = Path("a.log");
  ASSERT_EQ(m_files.AppendLine(path, "kept"), 5);
  {
    const FileSizeLimit limit(12);
    EXPECT_EQ(m_files.AppendLine(path, "too long for it"), append_result::kNotWritten);
    EXPECT_EQ(fs::file_size(path), 5U);
    EXPECT_EQ(m_files.AppendLine(path, "fits!!"), 12);
    EXPECT_EQ(m_files.AppendLine(path, ""), append_result::kNotWritten);
  }
  std::ifstream file(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator(file), {}), "kept\nfits!!\n");
  sigset_t pending;
  ASSERT_EQ(sigpending(&pending), 0);
  EXPECT_EQ(sigismember(&pending, SIGXFSZ), 0);
}

/// Makes two system calls fail from now on, as they do on some file systems.
bool ForbidCalls(unsigned first, int firstError, unsigned second, int secondError) {
  const auto fail = [](int error) -> sock_filter {
    return BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error));
  };
  std::array<sock_filter, 6> filter{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, first, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, second, 2, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      fail(firstError),
      fail(secondError),
  }};
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST_F(PosixFilesTest, RenamesWithoutOverwritingWhereTheSystemCannotByItself) {
  constexpr unsigned kNoCall = ~0U;
  for (const unsigned alsoForbidden : {kNoCall, static_cast<unsigned>(SYS_link)}) {
    ASSERT_GT(m_files.AppendLine(Path("a.log"), "a"), 0);
    ASSERT_GT(m_files.AppendLine(Path("b.log"), "b"), 0);
    const pid_t child = fork();
    if (child == 0) {
      // What fails gives the child's exit status.
      if (!ForbidCalls(SYS_renameat2, EINVAL, alsoForbidden, EPERM)) _exit(1);
      if (m_files.Rename(Path("a.log"), Path("b.log"))) _exit(2);
      if (m_files.Rename(Path("missing.log"), Path("c.log"))) _exit(3);
      if (!m_files.Rename(Path("a.log"), Path("c.log"))) _exit(4);
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_FALSE(fs::exists(Path("a.log")));
    EXPECT_EQ(fs::file_size(Path("c.log")), 2U);
    fs::remove(Path("c.log"));
  }
}

}  // namespace
}  // namespace tlk
