#include "tests/scripted/ScarceMemory.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace tlk::test {
namespace {

thread_local MemoryLimit* t_limit = nullptr;
std::atomic<long> s_live{0};

bool IsRefused() {
  if (t_limit == nullptr || t_limit->left < 0) return false;
  if (t_limit->left > 0) {
    --t_limit->left;
    return false;
  }
  const bool isRefused = t_limit->refusals > 0;
  if (isRefused) {
    --t_limit->refusals;
    t_limit->hasRefused = true;
  }
  return isRefused;
}

void* AllocateScarceAt(std::size_t size, std::size_t alignment) {
  if (IsRefused()) return nullptr;
  ++s_live;
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* OrThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

MemoryLimit* SetMemoryLimit(MemoryLimit* limit) { return std::exchange(t_limit, limit); }

bool WasRefused() { return t_limit != nullptr && t_limit->hasRefused; }

void* AllocateScarce(std::size_t size) {
  if (IsRefused()) return nullptr;
  ++s_live;
  return std::malloc(std::max<std::size_t>(size, 1));
}

void FreeScarce(void* memory) {
  if (memory != nullptr) --s_live;
  std::free(memory);
}

long LiveAllocations() { return s_live; }

}  // namespace tlk::test

void* operator new(std::size_t size) { return tlk::test::OrThrow(tlk::test::AllocateScarce(size)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return tlk::test::OrThrow(tlk::test::AllocateScarceAt(size, static_cast<std::size_t>(alignment)));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return tlk::test::AllocateScarce(size);
}
void operator delete(void* memory) noexcept { tlk::test::FreeScarce(memory); }
void operator delete(void* memory, std::size_t) noexcept { tlk::test::FreeScarce(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { tlk::test::FreeScarce(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  tlk::test::FreeScarce(memory);
}
