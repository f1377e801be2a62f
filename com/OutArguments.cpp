#include "com/OutArguments.h"

namespace tlk {
namespace {

// Positions of the parameters, which are also their numbers in a call by name.
constexpr DISPID kRecMsg = 2;
constexpr DISPID kRecData = 3;

// Named arguments come first; the others follow in reverse order.
DISPID ParameterOf(const DISPPARAMS& parameters, UINT argument) {
  return argument < parameters.cNamedArgs ? parameters.rgdispidNamedArgs[argument]
                                          : static_cast<DISPID>(parameters.cArgs - 1 - argument);
}

}  // namespace

OutArguments::OutArguments(const DISPPARAMS& given)
    : m_arguments(given.rgvarg, given.rgvarg + given.cArgs), m_parameters(given) {
  m_parameters.rgvarg = m_arguments.data();
  for (UINT i = 0; i < given.cArgs; ++i) {
    const DISPID parameter = ParameterOf(given, i);
    if (parameter == kRecMsg || parameter == kRecData) {
      Lend(m_arguments[i], m_places[static_cast<std::size_t>(parameter - kRecMsg)]);
    }
  }
}

void OutArguments::Lend(VARIANT& argument, Place& place) {
  const bool isMissing = argument.vt == VT_ERROR;
  if ((argument.vt & VT_BYREF) == 0 && !isMissing) m_areWritable = false;
  if (argument.vt != (VT_BYREF | VT_VARIANT)) return;
  place.variable = argument.pvarVal;
  argument.vt = VT_BYREF | VT_BSTR;
  argument.pbstrVal = place.variable != nullptr ? &place.text : nullptr;
}

void OutArguments::HandOver() {
  for (Place& place : m_places) {
    if (place.variable == nullptr || place.text == nullptr) continue;
    VariantClear(place.variable);
    place.variable->vt = VT_BSTR;
    place.variable->bstrVal = std::exchange(place.text, nullptr);
  }
}

}  // namespace tlk
