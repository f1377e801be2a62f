#pragma once

#include <ocidl.h>

#include "com/Part.h"

namespace tlk {

/// The control has no property pages, and says so.
class PropertyPages final : public Part<ISpecifyPropertyPages> {
 public:
  using Part::Part;

  STDMETHODIMP GetPages(CAUUID* pages) override {
    if (pages == nullptr) return E_POINTER;
    *pages = {};
    return S_OK;
  }
};

}  // namespace tlk
