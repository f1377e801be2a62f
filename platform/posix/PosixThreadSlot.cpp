#include "platform/posix/PosixThreadSlot.h"

#include "platform/posix/ThreadContext.h"

namespace tlk {

std::unique_ptr<PosixThreadSlot> PosixThreadSlot::Create() {
  pthread_key_t key{};
  const int result = pthread_key_create(&key, nullptr);
  if (result == 0) return std::unique_ptr<PosixThreadSlot>(new PosixThreadSlot(key));
  SetLastThreadError(result);
  return nullptr;
}

}  // namespace tlk
