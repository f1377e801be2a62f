#include "tools/tlk/doctor/ModuleFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace tlk::doctor {
namespace {

/// A file that goes with its object.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& content) {
    std::ofstream(m_path, std::ios::binary) << content;
  }
  ~TemporaryFile() { std::filesystem::remove(m_path); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

 private:
  const std::filesystem::path m_path =
      std::filesystem::temp_directory_path() / "tlk-module-test.dll";
};

std::string ModuleHead(char magic) {
  std::string head("MZ");
  head.resize(0x3C, '\0');
  head += std::string("\x44\0\0\0....PE\0\0", 12) + std::string(20, '.') + '\x0B' + magic;
  return head;
}

TEST(ModuleFile, KnowsAModuleOfEitherBitnessByItsHead) {
  const std::string cut = ModuleHead('\x02');
  struct {
    std::string content;
    FileKind kind;
  } const cases[] = {
      {ModuleHead('\x01'), FileKind::k32Bit},
      {ModuleHead('\x02'), FileKind::k64Bit},
      {ModuleHead('\x03'), FileKind::kNoModule},
      {cut.substr(0, cut.size() - 1), FileKind::kNoModule},
      {cut.substr(0, 0x3E), FileKind::kNoModule},
      {"", FileKind::kNoModule},
      {"some text", FileKind::kNoModule},
  };
  for (const auto& one : cases) {
    const TemporaryFile file(one.content);
    EXPECT_EQ(InspectFile(file.Path()), one.kind) << one.content.size();
  }
  EXPECT_EQ(InspectFile("no such file.dll"), FileKind::kMissing);
  EXPECT_EQ(InspectFile(std::filesystem::temp_directory_path()), FileKind::kMissing);
}

}  // namespace
}  // namespace tlk::doctor
