#pragma once

#include <pthread.h>

#include <memory>

#include "platform/Synchronisation.h"

namespace tlk {

/// A key of the thread library.
class PosixThreadSlot final : public ThreadSlot {
 public:
  /// Null, with the last error set, when the system refuses.
  [[nodiscard]] static std::unique_ptr<PosixThreadSlot> Create();

  ~PosixThreadSlot() override { pthread_key_delete(m_key); }
  PosixThreadSlot(const PosixThreadSlot&) = delete;
  PosixThreadSlot& operator=(const PosixThreadSlot&) = delete;

  [[nodiscard]] void* Get() const noexcept override { return pthread_getspecific(m_key); }
  void Set(void* pointer) noexcept override { pthread_setspecific(m_key, pointer); }

 private:
  explicit PosixThreadSlot(pthread_key_t key) : m_key(key) {}

  const pthread_key_t m_key;
};

}  // namespace tlk
