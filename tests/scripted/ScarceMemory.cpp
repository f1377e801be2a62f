#include "tests/scripted/ScarceMemory.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace tlk::test {
namespace {

std::atomic<long> s_live{0};

bool IsRefused() {
  MemoryLimit* const limit = t_memoryLimit;
  if (limit == nullptr || limit->allowed < 0) return false;
  const int beyond = limit->asked++ - limit->allowed;
  const bool isRefused = beyond >= 0 && beyond < limit->refusals;
  limit->hasRefused = limit->hasRefused || isRefused;
  return isRefused;
}

template <typename Allocate>
void* Give(Allocate allocate) {
  if (IsRefused()) return nullptr;
  ++s_live;
  return allocate();
}

void* OrThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// No larger than asked for, so that a sanitizer sees who reads behind it.
void* AllocateScarce(std::size_t size) {
  return Give([&] { return std::malloc(std::max<std::size_t>(size, 1)); });
}

void FreeScarce(void* memory) {
  if (memory != nullptr) --s_live;
  std::free(memory);
}

long LiveAllocations() { return s_live; }

}  // namespace tlk::test

using namespace tlk::test;

void* operator new(std::size_t size) { return OrThrow(AllocateScarce(size)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  const std::size_t whole = (size + step - 1) / step * step;
  return OrThrow(Give([&] { return std::aligned_alloc(step, whole); }));
}
void operator delete(void* memory) noexcept { FreeScarce(memory); }
void operator delete(void* memory, std::size_t) noexcept { FreeScarce(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { FreeScarce(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { FreeScarce(memory); }
