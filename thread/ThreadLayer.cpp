#include "thread/ThreadLayer.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <utility>

#include "thread/MainThread.h"

namespace tlk {

namespace {

constinit std::uint32_t sScopes = 0;
constinit MainThread__* sRecord = nullptr;
constinit std::atomic<const Platform*> sPorts = nullptr;

// A module that runs out of memory while it is loaded does without the record.
void MakeMainThread() noexcept {
  try {
    sRecord = std::make_unique<MainThread__>().release();
  } catch (const std::exception&) {
  }
}

}  // namespace

ThreadLayer::ThreadLayer(const Platform& platform) noexcept {
  if (sScopes++ > 0) return;
  sPorts = &platform;
  MakeMainThread();
}

ThreadLayer::~ThreadLayer() {
  if (--sScopes > 0) return;
  const std::unique_ptr<ZThread> ended(std::exchange(sRecord, nullptr));
  sPorts = nullptr;
}

const Platform& ThreadLayer::Ports() noexcept {
  const Platform* const ports = sPorts;
  return ports != nullptr ? *ports : SystemPlatform();
}

}  // namespace tlk
