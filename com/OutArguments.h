#pragma once

#include <oaidl.h>

#include <array>
#include <vector>

#include "platform/windows/Bstr.h"

namespace tlk {

/// The arguments of `SendReceiveTlkMsg` as a script gives them, made fit for a typed call.
///
/// For `RecMSG` and `RecData` a script gives references to its variables, which are VARIANTs, but
/// the call takes references to texts only. So it is given those of two texts here, and what it has
/// written to them is then moved to the variables. A variable for which it has written nothing
/// stays as it was.
class OutArguments {
 public:
  /// Takes a copy of `given`, whose arguments stay the caller's.
  explicit OutArguments(const DISPPARAMS& given);

  /// False when `RecMSG` or `RecData` is given as a value: it cannot be written to.
  [[nodiscard]] bool AreWritable() const { return m_areWritable; }

  /// The arguments for the call. They lie in this object.
  [[nodiscard]] DISPPARAMS* ForCall() { return &m_parameters; }

  /// Moves what the call has written to the script's variables.
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
