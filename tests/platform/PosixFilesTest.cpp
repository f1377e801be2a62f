#include "platform/posix/PosixFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "platform/posix/OwnedDescriptor.h"

namespace tlk {
namespace {

namespace fs = std::filesystem;

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

}  // namespace
}  // namespace tlk
