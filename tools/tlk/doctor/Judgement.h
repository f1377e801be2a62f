#pragma once

#include <span>
#include <string>
#include <vector>

#include "tools/tlk/doctor/Finding.h"

namespace tlk::doctor {

/// The name under which a control is asked for.
inline constexpr const char* kControlName = "TlkC2.Tlkc";

/// How one place of the registration is called.
[[nodiscard]] std::string PlaceName(const Finding& registration);

/// The type library's file that programs of this view take.
[[nodiscard]] const NamedFile& LibraryOf(const Finding& registration);

/// What does not fit, each as one line that says what to do; nothing when the control is registered
/// and all is well. A place without the control is well as long as there is another with it.
[[nodiscard]] std::vector<std::string> FindMisfits(std::span<const Finding> findings);

/// What fits, but may surprise: places that hide or share something, each as one line.
[[nodiscard]] std::vector<std::string> FindNotes(std::span<const Finding> findings);

}  // namespace tlk::doctor
