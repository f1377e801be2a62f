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

  /// Whether what is to be written to can be written to: a value by itself cannot.
  [[nodiscard]] bool AreWritable() const { return m_areWritable; }

  /// What to make the call with. It refers to this object.
  [[nodiscard]] DISPPARAMS* ForCall() { return &m_parameters; }

  /// Hands over what the call has written.
  void HandOver();

 private:
  struct Place {
    VARIANT* variable = nullptr;
    BSTR text = nullptr;
  };

  void Lend(VARIANT& argument, Place& place);

  std::vector<VARIANT> m_arguments;
  DISPPARAMS m_parameters;
  std::array<Place, 2> m_places;
  bool m_areWritable = true;
};

}  // namespace tlk
