#include "tools/tlk/doctor/ModuleFile.h"

#include <cstdint>
#include <fstream>
#include <string_view>

namespace tlk::doctor {
namespace {

constexpr std::size_t kPlaceOfHeader = 0x3C;
constexpr std::size_t kFileHeaderSize = 20;
constexpr std::uint16_t kOptionalHeader32 = 0x10B;
constexpr std::uint16_t kOptionalHeader64 = 0x20B;

/// The next bytes are that text.
bool ReadText(std::istream& file, std::string_view text) {
  for (const char byte : text) {
    if (file.get() != byte) return false;
  }
  return true;
}

/// The next bytes as a number, the lowest first; 0 behind the end.
template <typename Number>
Number ReadNumber(std::istream& file) {
  std::uint32_t number = 0;
  for (unsigned i = 0; i < sizeof(Number); ++i) {
    const int byte = file.get();
    if (byte < 0) return 0;
    number |= static_cast<std::uint32_t>(byte) << (8 * i);
  }
  return static_cast<Number>(number);
}

}  // namespace

FileKind InspectFile(const std::filesystem::path& path) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return FileKind::kMissing;
  std::ifstream file(path, std::ios::binary);
  if (!ReadText(file, "MZ")) return FileKind::kNoModule;
  file.seekg(kPlaceOfHeader);
  file.seekg(ReadNumber<std::uint32_t>(file));
  if (!ReadText(file, std::string_view("PE\0\0", 4))) return FileKind::kNoModule;
  file.seekg(kFileHeaderSize, std::ios::cur);
  switch (ReadNumber<std::uint16_t>(file)) {
    case kOptionalHeader32:
      return FileKind::k32Bit;
    case kOptionalHeader64:
      return FileKind::k64Bit;
    default:
      return FileKind::kNoModule;
  }
}

}  // namespace tlk::doctor
