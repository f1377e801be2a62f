#pragma once

#include <fstream>
#include <istream>
#include <string>

namespace tlk {

/// Opens a file to read its bytes; false when it cannot be read, as with a folder.
[[nodiscard]] bool OpenToRead(const std::string& path, std::ifstream& file);

/// Appends the next bytes of `input`, some of them, to `bytes`; false when there are no more.
bool ReadPiece(std::istream& input, std::string& bytes);

}  // namespace tlk
