#pragma once

#include <fstream>
#include <istream>
#include <string>

namespace tlk {

/// Opens a file to read its bytes. Returns what forbids that, as with a folder, or nothing.
[[nodiscard]] std::string OpenToRead(const std::string& path, std::ifstream& file);

/// Why the system failed to open or to read just now.
[[nodiscard]] std::string SystemFailure();

/// Appends the next bytes of `input`, some of them, to `bytes`; false when there are no more.
bool ReadPiece(std::istream& input, std::string& bytes);

}  // namespace tlk
