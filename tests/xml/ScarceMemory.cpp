#include "tests/xml/ScarceMemory.h"

#include <cstdlib>
#include <new>

namespace tlk::test {
namespace {

thread_local int t_left = -1;
thread_local bool t_refused = false;

void* OrThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* AllocateScarce(std::size_t size) {
  t_refused = t_refused || t_left == 0;
  if (t_left == 0) return nullptr;
  if (t_left > 0) --t_left;
  return std::malloc(size == 0 ? 1 : size);
}

void AllowAllocations(int count) {
  t_left = count;
  t_refused = false;
}

bool WasRefused() { return t_refused; }

}  // namespace tlk::test

// No alignment that is asked for here goes beyond that of malloc.
void* operator new(std::size_t size) { return tlk::test::OrThrow(tlk::test::AllocateScarce(size)); }
void* operator new(std::size_t size, std::align_val_t) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return tlk::test::AllocateScarce(size);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
