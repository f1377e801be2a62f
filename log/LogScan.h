#pragma once

#include <string>

#include "log/iLogger.h"

namespace tlk {

class Files;

/// Adds the error and warning lines of a log file to `lines`, every line end turned into a blank.
/// Returns `iLogger::kScanDone`, or `iLogger::kScanNotOpened`.
[[nodiscard]] std::int32_t ScanLogFile(Files& files, const std::string& path, LineList& lines);

}  // namespace tlk
