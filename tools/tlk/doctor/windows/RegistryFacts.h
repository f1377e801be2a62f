#pragma once

#include <vector>

#include "tools/tlk/doctor/Finding.h"

namespace tlk::doctor {

/// What the registry says of the control: first the machine's hive, then the user's, each in all
/// the views that this system has.
[[nodiscard]] std::vector<Finding> CollectFindings();

}  // namespace tlk::doctor
