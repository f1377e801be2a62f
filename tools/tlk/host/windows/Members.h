#pragma once

#include <oaidl.h>

#include <array>
#include <cstddef>
#include <initializer_list>

#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "platform/windows/Variant.h"

namespace tlk::host {

/// The members of a control. The numbers index an array of `kMembers` places.
enum class Member : std::size_t { kConnect, kDisconnect, kConnectionStatus, kSend, kRequest };
inline constexpr std::size_t kMembers = 5;

/// The members of one control, found by their names and called late-bound, as a script host does.
class Members {
 public:
  /// Throws ComFailure when the control lacks a member.
  explicit Members(const ComPtr<IUnknown>& control);

  /// Calls a member with its arguments from first to last and returns the result code of the
  /// control itself, where it was the control that failed. `result` is empty after a failure.
  HRESULT Call(Member member, std::initializer_list<VARIANT> arguments, Variant& result) const;

 private:
  ComPtr<IDispatch> m_control;
  std::array<DISPID, kMembers> m_ids{};
};

// Arguments of a call. They own nothing: what they refer to outlives the call.
[[nodiscard]] VARIANT NumberArgument(LONG number);
[[nodiscard]] VARIANT TextArgument(const Bstr& text);
[[nodiscard]] VARIANT TextPlaceArgument(BSTR& place);

}  // namespace tlk::host
