#pragma once

namespace tlk {

/// The number of the calling thread's last failure in `Synchronisation`.
[[nodiscard]] int LastThreadError();
void SetLastThreadError(int error);

/// Forgets the kept answer of `CallingThread`: the thread that forks lives on in the child under
/// another number, which whatever else is put right there may ask for.
void ForgetThreadNumber();

/// Numbers of failures that hosts know from elsewhere and find in the log.
namespace thread_error {
inline constexpr int kNotFound = 2;
inline constexpr int kNotOwner = 288;
}  // namespace thread_error

}  // namespace tlk
