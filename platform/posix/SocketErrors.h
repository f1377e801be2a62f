#pragma once

namespace tlk {

/// The number that the socket interface of every platform gives an error of this system's.
[[nodiscard]] int SocketErrorFromErrno(int error);

}  // namespace tlk
