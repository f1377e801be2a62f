#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "platform/Export.h"

namespace tlk {

/// The count of an object shared by reference. It starts at 0: whoever makes the object hands it to
/// a `ZRef`, which takes the first reference. Safe to use from any thread.
class ReferenceCount {
 public:
  /// Adds one reference.
  void Add() noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }

  /// Drops one reference; true when it was the last.
  [[nodiscard]] bool Drop() noexcept {
    return m_count.fetch_sub(1, std::memory_order_acq_rel) == 1;
  }

  /// How many references there are in this moment.
  [[nodiscard]] std::int32_t Value() const noexcept {
    return m_count.load(std::memory_order_relaxed);
  }

 private:
  std::atomic<std::int32_t> m_count{0};
};

/// A counted object, made with `new`. The last reference destroys it.
class TLKC2_API ZRefCounted {
 public:
  ZRefCounted() = default;
  ZRefCounted(const ZRefCounted&) = delete;
  ZRefCounted& operator=(const ZRefCounted&) = delete;
  virtual ~ZRefCounted() = default;

  /// Takes and drops a reference. The last one to be dropped ends the object. `ZRef` does it by
  /// itself.
  /// @{
  void AddReference() noexcept { m_references.Add(); }
  void DropReference() {
    if (m_references.Drop()) delete this;
  }
  /// @}

  /// How many references there are in this moment.
  [[nodiscard]] std::int32_t References() const noexcept { return m_references.Value(); }

 private:
  ReferenceCount m_references;
};

/// A counted object that has a say in its end. The last reference finalises it.
class TLKC2_API ZRefCountedWithFinalization {
 public:
  ZRefCountedWithFinalization() = default;
  ZRefCountedWithFinalization(const ZRefCountedWithFinalization&) = delete;
  ZRefCountedWithFinalization& operator=(const ZRefCountedWithFinalization&) = delete;
  virtual ~ZRefCountedWithFinalization() = default;

  /// Ends the object: destroys and frees it, unless a derived class keeps it, for another use or
  /// for a later end. An object that was not made with `new` must not be finalised by this default.
  virtual void Finalize();

  /// Takes and drops a reference. The last one to be dropped ends the object. `ZRef` does it by
  /// itself.
  /// @{
  void AddReference() noexcept { m_references.Add(); }
  void DropReference() {
    if (m_references.Drop()) Finalize();
  }
  /// @}

  /// How many references there are in this moment.
  [[nodiscard]] std::int32_t References() const noexcept { return m_references.Value(); }

 private:
  ReferenceCount m_references;
};

/// Where a `ZRef` found that it has no live object to hand out; the two differ in the reported
/// line.
enum class RefAccess : std::int32_t { kPointer = 39, kReference = 65 };

/// Reports the misuse and ends the process.
/// @{
[[noreturn]] TLKC2_API void EndOnDeadAccess(RefAccess access);
[[noreturn]] TLKC2_API void EndOnDeadDereference();
/// @}

/// A reference to a counted object, or to none.
///
/// Handing the object out is checked: a reference to none, or to an object whose count is 0 or
/// less, is reported and ends the process. One `ZRef` belongs to one thread at a time; the object
/// may have references on any number of threads.
template <typename T>
class ZRef {
 public:
  ZRef() noexcept = default;

  /// Takes a reference to `object`, which may be null.
  explicit ZRef(T* object) noexcept : m_object(object) { Take(); }

  /// Takes another reference to the object of `other`.
  ZRef(const ZRef& other) noexcept : m_object(other.m_object) { Take(); }
  /// Takes the reference of `other` over, which then refers to none.
  ZRef(ZRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

  /// Takes a reference to the same object as one of its base or as const.
  template <typename U, typename = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  ZRef(const ZRef<U>& other) noexcept : m_object(other.m_object) {
    Take();
  }

  ~ZRef() { Drop(); }

  /// Refers to the object of `other` from now on; the reference that it had is dropped.
  ZRef& operator=(ZRef other) noexcept {
    std::swap(m_object, other.m_object);
    return *this;
  }

  /// The object; there must be one.
  [[nodiscard]] T* Get() const {
    CheckAccess(RefAccess::kPointer);
    return m_object;
  }

  /// The object; there must be one.
  [[nodiscard]] T& operator*() const {
    CheckAccess(RefAccess::kReference);
    return *m_object;
  }

  /// The object's members. A reference to none passes the check and gives null, which is kept: only
  /// a dead object is reported here.
  T* operator->() const {
    if (m_object != nullptr && !IsLive()) [[unlikely]]
      EndOnDeadDereference();
    return m_object;
  }

  /// Whether it refers to an object at all.
  [[nodiscard]] explicit operator bool() const noexcept { return m_object != nullptr; }
  /// Whether both refer to the same object, or to none.
  [[nodiscard]] bool operator==(const ZRef& other) const noexcept = default;

 private:
  template <typename U>
  friend class ZRef;

  void Take() noexcept {
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): it does not follow the counts.
    if (m_object != nullptr) m_object->AddReference();
  }

  void Drop() {
    if (m_object != nullptr) m_object->DropReference();
  }

  [[nodiscard]] bool IsLive() const {
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): it does not follow the counts.
    return m_object->References() > 0;
  }

  void CheckAccess(RefAccess access) const {
    if (m_object == nullptr || !IsLive()) [[unlikely]]
      EndOnDeadAccess(access);
  }

  T* m_object = nullptr;
};

}  // namespace tlk
