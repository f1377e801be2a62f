#pragma once

#include <memory>

#include "platform/posix/PosixMutex.h"

namespace tlk {

enum class NamedMutexMode { kOpenExisting, kOpenOrCreate };

/// The mutex of a name, shared by all processes of the user. Every byte of the name counts, letter
/// case included; it may hold slashes and backslashes. Null, with the last error set, when there is
/// none or it cannot be made.
///
/// The mutex lies in a file of shared memory. Each process that has it open keeps a shared lock on
/// that file, which the system drops when the process ends, however it ends. So the last one to
/// close the name knows that it is the last and removes the file. A file that a crash has left
/// behind is known by having no lock, counts as none, and goes when the next name is made.
[[nodiscard]] std::unique_ptr<PosixMutex> OpenNamedMutexObject(const char* name,
                                                               NamedMutexMode mode);

}  // namespace tlk
