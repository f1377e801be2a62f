#include "tools/tlk/net/System.h"

#include <sys/resource.h>

#include <asio/error.hpp>

#include "platform/Sockets.h"
#include "platform/posix/SocketErrors.h"

namespace tlk::net {

std::optional<std::size_t> RaiseDescriptorLimit() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return std::nullopt;
  const auto before = limit.rlim_cur;
  limit.rlim_cur = limit.rlim_max;
  if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) limit.rlim_cur = before;
  if (limit.rlim_cur == RLIM_INFINITY) return std::nullopt;
  return static_cast<std::size_t>(limit.rlim_cur);
}

int ErrorNumber(const asio::error_code& error) {
  if (error == asio::error::eof) return socket_error::kDisconnected;
  return SocketErrorFromErrno(error.value());
}

}  // namespace tlk::net
