#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "platform/Fork.h"

namespace tlk {

/// A function to call on the writer thread, with its context.
struct ThreadHook {
  void (*function)(void* context, const char* category, const char* name) = nullptr;
  void* context = nullptr;
};

/// What can be set on a log at any time, from any thread, without waiting for its lock.
class LogSettings {
 public:
  std::atomic<bool> consoleEcho{true};
  std::atomic<std::int32_t> maxFileSize{2'097'152};
  std::atomic<std::int32_t> fileCount{10};
  std::atomic<std::int32_t> maxQueueSize{512'000};

  [[nodiscard]] std::string Directory() const {
    const std::lock_guard lock(m_guard);
    return m_directory;
  }

  /// Changes with each `SetDirectory`, so that who looks often need not compare texts.
  [[nodiscard]] std::uint32_t DirectoryVersion() const { return m_directoryVersion; }

  void SetDirectory(const std::string& directory) {
    const std::lock_guard lock(m_guard);
    if (!m_isDirectoryKept) ChangeDirectory(directory);
  }

  /// Sets the directory for good: from here on `SetDirectory` has no effect.
  void KeepDirectory(const std::string& directory) {
    const std::lock_guard lock(m_guard);
    ChangeDirectory(directory);
    m_isDirectoryKept = true;
  }

  void SetStartHook(ThreadHook hook) {
    const std::lock_guard lock(m_guard);
    m_startHook = hook;
  }

  void SetEndHook(ThreadHook hook) {
    const std::lock_guard lock(m_guard);
    m_endHook = hook;
  }

  [[nodiscard]] ThreadHook StartHook() const {
    const std::lock_guard lock(m_guard);
    return m_startHook;
  }

  [[nodiscard]] ThreadHook EndHook() const {
    const std::lock_guard lock(m_guard);
    return m_endHook;
  }

 private:
  void ChangeDirectory(const std::string& directory) {
    m_directory = directory;
    ++m_directoryVersion;
  }

  mutable ForkMutex m_guard;
  std::string m_directory;
  bool m_isDirectoryKept = false;
  std::atomic<std::uint32_t> m_directoryVersion{1};
  ThreadHook m_startHook;
  ThreadHook m_endHook;
};

}  // namespace tlk
