#pragma once

#include <oaidl.h>

#include <array>
#include <vector>

#include "platform/windows/Bstr.h"

namespace tlk {

/// The arguments of `SendReceiveTlkMsg` as a script gives them, made fit for a typed call.
///
/// A script hands over the variables themselves for `RecMSG` and `RecData`, and the call takes
/// nothing but places for texts. Such places are lent to it instead, and what it writes there goes
/// to the variables afterwards; a variable that nothing was written for stays as it was.
class OutArguments {
 public:
  /// Takes a copy of `given`, whose arguments stay the caller's.
  explicit OutArguments(const DISPPARAMS& given);

  /// What to make the call with. It refers to this object.
  [[nodiscard]] DISPPARAMS* ForCall() { return &m_parameters; }

  /// Hands over what the call has written.
  void HandOver();

 private:
  struct Place {
    VARIANT* variable = nullptr;
    BSTR text = nullptr;
  };

  std::vector<VARIANT> m_arguments;
  DISPPARAMS m_parameters;
  std::array<Place, 2> m_places;
};

}  // namespace tlk
