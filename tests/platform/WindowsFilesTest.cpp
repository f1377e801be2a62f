// What is particular to a log on Windows.
#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Surroundings.h"
#include "platform/windows/OwnedHandle.h"

namespace tlk {
namespace {

std::string TemporaryPath(const std::string& name) {
  std::array<char, 1000> folder{};
  EXPECT_GT(SystemPlatform().surroundings.TemporaryFolder(folder), 0U);
  return folder.data() + std::to_string(::GetCurrentProcessId()) + name;
}

std::string ContentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(WindowsFiles, WritesInTextModeToALogThatOthersHaveOpen) {
  Files& files = SystemPlatform().files;
  const std::string path = TemporaryPath("text.log");
  const std::string newPath = TemporaryPath("renamed.log");
  ASSERT_EQ(files.AppendLine(path, "a\nb\r\n"), 9);
  const OwnedHandle other =
      OwnFile(::CreateFileA(path.c_str(), FILE_APPEND_DATA | FILE_READ_DATA,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_NE(other, nullptr);
  DWORD written = 0;
  ASSERT_TRUE(::WriteFile(other.get(), "other", 5, &written, nullptr));
  EXPECT_EQ(files.AppendLine(path, ""), 16);
  EXPECT_EQ(ContentOf(path), "a\r\nb\r\r\n\r\nother\r\n");
  const auto rotate = [&] { return files.Rename(path, newPath); };
  OwnedHandle inTheWay =
      OwnFile(::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_FALSE(files.RotateAlone(path, 0, rotate));
  inTheWay.reset();
  EXPECT_TRUE(files.RotateAlone(path, 0, rotate));
  EXPECT_TRUE(files.Remove(newPath));
}

}  // namespace
}  // namespace tlk
