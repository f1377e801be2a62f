#pragma once

#include <windows.h>

#include <limits>

namespace tlk {

/// How long one call may wait, over all the system calls that it makes.
class Patience {
 public:
  enum Kind { kInAll, kAnewWithProgress };
  static constexpr ULONGLONG kEndless = std::numeric_limits<ULONGLONG>::max();

  /// From now on, in milliseconds; 0 for ever.
  explicit Patience(DWORD limit, Kind kind = kInAll) : m_limit(limit), m_kind(kind) {}

  void OnProgress() {
    if (m_kind == kAnewWithProgress) m_start = ::GetTickCount64();
  }

  /// The milliseconds that are left; 0 when it is over.
  [[nodiscard]] ULONGLONG Left() const {
    const ULONGLONG passed = ::GetTickCount64() - m_start;
    return m_limit == 0 ? kEndless : passed < m_limit ? m_limit - passed : 0;
  }

 private:
  DWORD m_limit;
  Kind m_kind;
  ULONGLONG m_start = ::GetTickCount64();
};

}  // namespace tlk
