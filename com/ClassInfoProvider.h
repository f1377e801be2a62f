#pragma once

#include <ocidl.h>

#include "com/Part.h"

namespace tlk {

/// Tells a container the control's class and the interface of its events.
class ClassInfoProvider final : public Part<IProvideClassInfo2> {
 public:
  using Part::Part;

  STDMETHODIMP GetClassInfo(ITypeInfo** info) override;
  STDMETHODIMP GetGUID(DWORD kind, GUID* id) override;
};

}  // namespace tlk
