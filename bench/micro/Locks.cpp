#include <benchmark/benchmark.h>

#include "thread/ZMutex.h"
#include "thread/ZRWLock.h"
#include "thread/ZSemaphore.h"

namespace tlk::bench {
namespace {

void TakeAndGive(benchmark::State& state, ZMutexBase& lock) {
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(lock.Acquire());
    lock.Release();
  }
}

void Mutex(benchmark::State& state) {
  static ZMutex mutex("mutex");
  TakeAndGive(state, mutex);
}

void Read(benchmark::State& state) {
  static ZRWLock lock;
  TakeAndGive(state, lock.ReadSide());
}

void Write(benchmark::State& state) {
  static ZRWLock lock;
  TakeAndGive(state, lock.WriteSide());
}

void Semaphore(benchmark::State& state) {
  static ZSemaphore semaphore("semaphore", 1);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(semaphore.Wait(1, kForever));
    semaphore.Signal(1);
  }
}

BENCHMARK(Mutex)->ThreadRange(1, 4);
BENCHMARK(Read)->ThreadRange(1, 4);
BENCHMARK(Write)->ThreadRange(1, 4);
BENCHMARK(Semaphore)->ThreadRange(1, 4);

}  // namespace
}  // namespace tlk::bench
