#include "tests/scripted/ScarceMemory.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace tlk::test {

static std::atomic<long> s_live{0};

static bool IsRefused() {
  MemoryLimit* const limit = t_memoryLimit;
  if (limit == nullptr || limit->allowed < 0) return false;
  const int beyond = limit->asked++ - limit->allowed;
  const bool isRefused = beyond >= 0 && beyond < limit->refusals;
  limit->hasRefused = limit->hasRefused || isRefused;
  return isRefused;
}

// No larger than asked for, so that a sanitizer sees who reads behind it.
static void* Allocate(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
  void* memory = nullptr;
  const auto room = std::max<std::size_t>(size, 1);
  if (!IsRefused() && posix_memalign(&memory, alignment, room) == 0) ++s_live;
  return memory;
}

static void* OrThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* AllocateScarce(std::size_t size) { return Allocate(size); }

void FreeScarce(void* memory) {
  if (memory != nullptr) --s_live;
  std::free(memory);
}

long LiveAllocations() { return s_live; }

}  // namespace tlk::test

using namespace tlk::test;

void* operator new(std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return OrThrow(Allocate(size, static_cast<std::size_t>(alignment)));
}
void operator delete(void* memory) noexcept { FreeScarce(memory); }
void operator delete(void* memory, std::size_t) noexcept { FreeScarce(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { FreeScarce(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { FreeScarce(memory); }
