#include "platform/posix/SocketErrors.h"

#include <cerrno>

namespace tlk {

namespace {

// An error without a number there keeps this system's own, above the range of the others.
constexpr int kUnmapped = 20000;

struct ErrorPair {
  int system;
  int socket;
};

constexpr ErrorPair kErrors[] = {
    {EINTR, 10004},        {EBADF, 10038},           {EACCES, 10013},
    {EPERM, 10013},        {EFAULT, 10014},          {EINVAL, 10022},
    {EMFILE, 10024},       {ENFILE, 10024},          {EWOULDBLOCK, 10035},
    {EINPROGRESS, 10036},  {EALREADY, 10037},        {ENOTSOCK, 10038},
    {EDESTADDRREQ, 10039}, {EMSGSIZE, 10040},        {EPROTOTYPE, 10041},
    {ENOPROTOOPT, 10042},  {EPROTONOSUPPORT, 10043}, {ESOCKTNOSUPPORT, 10044},
    {EOPNOTSUPP, 10045},   {EPFNOSUPPORT, 10046},    {EAFNOSUPPORT, 10047},
    {EADDRINUSE, 10048},   {EADDRNOTAVAIL, 10049},   {ENETDOWN, 10050},
    {ENETUNREACH, 10051},  {ENETRESET, 10052},       {ECONNABORTED, 10053},
    {ECONNRESET, 10054},   {EPIPE, 10054},           {ENOBUFS, 10055},
    {ENOMEM, 10055},       {EISCONN, 10056},         {ENOTCONN, 10057},
    {ESHUTDOWN, 10058},    {ETIMEDOUT, 10060},       {ECONNREFUSED, 10061},
    {EHOSTDOWN, 10064},    {EHOSTUNREACH, 10065},
};

}  // namespace

int SocketErrorFromErrno(int error) {
  if (error == 0) return 0;
  for (const auto& pair : kErrors) {
    if (pair.system == error) return pair.socket;
  }
  return kUnmapped + error;
}

}  // namespace tlk
