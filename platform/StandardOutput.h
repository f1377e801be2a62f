#pragma once

#include <string_view>

#include "platform/Export.h"

namespace tlk {

/// Prints on the process's standard output, which is the host's: all that the library shows there,
/// the echo of the trace log and the lines of the codec and the logger, is printed by this.
///
/// It never waits for whoever reads it and raises no signal. What cannot be printed at once, or not
/// at all, is dropped; so is what there is no memory for. The next text that can be printed comes
/// behind a line of its own,
///
///     Lines that could not be printed here: 12
///
/// which counts the lines that were dropped, those that were printed in part included. Such a part
/// is ended first, so that two lines never become one. A text of up to 4,096 bytes goes into a pipe
/// whole or not at all.
///
/// It is written to the system at once, past the buffers of the C and C++ libraries: what the host
/// has printed with those and not flushed yet comes after it. A host that cares for the order, or
/// fills a buffer with lines that must stay whole, has its stream flushed at line ends.
///
/// What is left to wait for: a file, as long as its disk takes; a terminal of another user, when it
/// is stopped in that very moment. On Windows a console whose user holds it, and a pipe to which
/// another thread of the program is just waiting to write.
///
/// Safe from any thread, and in the child of a fork.
TLKC2_API void PrintOnStandardOutput(std::string_view text) noexcept;

/// The same on standard error.
TLKC2_API void PrintOnStandardError(std::string_view text) noexcept;

/// Whether the library keeps silent on standard output altogether; it does not unless told to. What
/// is not printed for this reason is not counted. Safe from any thread.
TLKC2_API void SilenceStandardOutput(bool isSilent = true) noexcept;

}  // namespace tlk
