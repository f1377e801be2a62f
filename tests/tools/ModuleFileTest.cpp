#include "tools/tlk/doctor/ModuleFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace tlk::doctor {
namespace {

TEST(ModuleFile, KnowsAModuleOfEitherBitnessByItsHead) {
  const std::string head = "MZ" + std::string(0x3A, '\0') +
                           std::string("\x44\0\0\0....PE\0\0", 12) + std::string(20, '.') + '\x0B';
  const std::pair<std::string, FileKind> cases[] = {
      {head + '\x01', FileKind::k32Bit},
      {head + '\x02', FileKind::k64Bit},
      {head + '\x03', FileKind::kNoModule},
      {head, FileKind::kNoModule},
      {head.substr(0, 0x3E), FileKind::kNoModule},
      {"some text", FileKind::kNoModule},
      {"", FileKind::kNoModule},
  };
  const auto folder = std::filesystem::temp_directory_path();
  const auto path = folder / "tlk-module-test.dll";
  for (const auto& [content, kind] : cases) {
    std::ofstream(path, std::ios::binary) << content;
    EXPECT_EQ(InspectFile(path), kind) << content.size();
  }
  std::filesystem::remove(path);
  EXPECT_EQ(InspectFile(path), FileKind::kMissing);
  EXPECT_EQ(InspectFile(folder), FileKind::kMissing);
}

}  // namespace
}  // namespace tlk::doctor
