#pragma once

#include <filesystem>

#include "tools/tlk/doctor/Finding.h"

namespace tlk::doctor {

/// What the file is, by the head of a program file.
[[nodiscard]] FileKind InspectFile(const std::filesystem::path& path);

}  // namespace tlk::doctor
