#pragma once

#include <cstdint>
#include <memory>

#include "log/NamedMutex.h"
#include "platform/Platform.h"

namespace tlk {

class iLogger;

/// Holds a mutex for the length of a scope, on one thread.
///
/// How that went is written to the place given for it, as a `mutex_status`; nothing is thrown. A
/// guard that ends without a mutex, because it never had one or because it was released before,
/// writes "ERROR" to the debugger.
class QNManageMutex {
 public:
  /// Takes a mutex that somebody else owns, however long that lasts. Misuse and a failing release
  /// are reported to `logger`, which may be null.
  QNManageMutex(SystemMutex* handle, std::uint32_t& status, iLogger* logger,
                const Platform& platform = SystemPlatform());

  /// Opens or makes the mutex of that name and takes it, however long that lasts.
  QNManageMutex(const char* name, std::uint32_t& status,
                const Platform& platform = SystemPlatform());

  /// Releases the mutex, and closes it if the guard has opened it.
  ~QNManageMutex();

  QNManageMutex(const QNManageMutex&) = delete;
  QNManageMutex& operator=(const QNManageMutex&) = delete;

  /// Releases the mutex before the scope ends.
  void Release();

 private:
  void ReportFailedRelease();

  const Platform& m_platform;
  const std::unique_ptr<SystemMutex> m_opened;  // Only of a guard by name.
  SystemMutex* m_handle;
  iLogger* m_logger;
};

}  // namespace tlk
