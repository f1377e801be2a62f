// What is particular to a log on Windows.
#include <windows.h>

#include "platform/windows/OwnedHandle.h"
#include "tests/platform/FilesFixture.h"

namespace tlk {

using WindowsFiles = FilesFixture;

OwnedHandle OpenBeside(const std::string& path, DWORD access, DWORD sharing) {
  return OwnFile(::CreateFileA(path.c_str(), access, sharing, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
}

TEST_F(WindowsFiles, WritesInTextModeToALogThatOthersHaveOpen) {
  constexpr DWORD kBoth = FILE_SHARE_READ | FILE_SHARE_WRITE;
  const std::string path = Path("text.log");
  ASSERT_EQ(Append("text.log", "a\nb\r\n"), 9);
  const auto other = OpenBeside(path, FILE_APPEND_DATA | FILE_READ_DATA, kBoth | FILE_SHARE_DELETE);
  ASSERT_NE(other, nullptr);
  DWORD written = 0;
  ASSERT_TRUE(::WriteFile(other.get(), "other", 5, &written, nullptr));
  EXPECT_EQ(Append("text.log", ""), 16);
  EXPECT_EQ(ContentOf("text.log"), "a\r\nb\r\r\n\r\nother\r\n");
  const auto rotate = [&] { return m_files.Rename(path, Path("renamed.log")); };
  OwnedHandle inTheWay = OpenBeside(path, GENERIC_READ, kBoth);
  EXPECT_FALSE(m_files.RotateAlone(path, 0, rotate));
  inTheWay.reset();
  EXPECT_TRUE(m_files.RotateAlone(path, 0, rotate));
}

}  // namespace tlk
