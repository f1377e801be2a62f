#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace tlk::host {

/// A call of the system that failed: what it was about, its result code, and the system's words.
class ComFailure : public std::runtime_error {
 public:
  ComFailure(const std::string& subject, HRESULT hr);
};

/// Throws when the call has failed.
inline void Check(HRESULT hr, const char* subject) {
  if (FAILED(hr)) throw ComFailure(subject, hr);
}

/// The result code of the call before, which failed.
[[nodiscard]] inline HRESULT LastError() { return HRESULT_FROM_WIN32(GetLastError()); }

}  // namespace tlk::host
