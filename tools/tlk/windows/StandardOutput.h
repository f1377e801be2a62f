#pragma once

namespace tlk {

/// Sends what everybody in the process prints on standard output, the C runtime and the system
/// alike, where standard error goes; nowhere when there is none.
void SendStandardOutputToStandardError();

/// Sends it to a descriptor; false when that cannot be.
bool LeadStandardOutputTo(int descriptor);

/// From here on nobody sees what is printed on standard output.
void DropStandardOutput();

}  // namespace tlk
