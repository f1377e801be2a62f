#pragma once

#include <vector>

#include "tools/tlk/doctor/Registration.h"

namespace tlk::doctor {

/// What the registry says of the control: first the machine's hive, then the user's, each in all
/// the views that this system has.
[[nodiscard]] std::vector<Registration> CollectRegistrations();

}  // namespace tlk::doctor
