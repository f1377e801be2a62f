#pragma once

#include <TlkC2.h>

#include <functional>
#include <string>

#include "tests/com/OwnComponent.h"

namespace tlk {

/// A sink of the control's events.
class EventListener final : public OwnComponent<_ITlkcEvents> {
 public:
  std::string heard;             ///< The events, in short words.
  std::function<void()> during;  ///< Runs inside the next event.
  HRESULT answer = S_OK;

  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID event, REFIID reserved, LCID locale, WORD kind, DISPPARAMS* given,
                      VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override {
    EXPECT_TRUE(reserved == IID_NULL && locale == 0x400 && kind == DISPATCH_METHOD && result &&
                !exception && !badArgument);
    EXPECT_TRUE(given->cArgs == static_cast<UINT>(event) && given->cNamedArgs == 0);
    const VARIANT* const value = given->rgvarg;
    EXPECT_EQ(value[0].vt, event == 1 ? VT_I4 : VT_BSTR);
    heard += event == 1 ? "status " + std::to_string(value[0].lVal) + ";"
                        : Plain(value[1].bstrVal) + " " + Plain(value[0].bstrVal) + ";";
    if (during) std::exchange(during, nullptr)();
    return answer;
  }

 private:
  static std::string Plain(BSTR text) { return {text, text + SysStringLen(text)}; }
};

}  // namespace tlk
