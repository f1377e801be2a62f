#pragma once

#include <TlkC2.h>

#include "com/Part.h"
#include "control/Tlkc.h"
#include "platform/windows/ComPtr.h"

namespace tlk {

/// The control's automation interface, to be called by its slots or by name.
///
/// Converts what the core takes and gives, and decides nothing. The control is held during each
/// call, so a handler of an event in the middle of it may let go of the control. A null text is an
/// empty one; a null place for a result is refused, and then nothing happens.
class Automation final : public Part<ITlkc> {
 public:
  Automation(IUnknown& controller, CTlkc& control) : Part(controller), m_control(control) {}

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                             DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                      DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                      UINT* badArgument) override;

  STDMETHODIMP Disconnect() override;
  STDMETHODIMP Connect(BSTR server, int port, long* pVal) override;
  STDMETHODIMP get_ConnectionStatus(::TLK_ConnStatusEnum* pVal) override;
  STDMETHODIMP SendTLKMsg(BSTR message, BSTR data) override;
  STDMETHODIMP SendReceiveTlkMsg(BSTR sndMsg, BSTR sndData, BSTR* recMsg, BSTR* recData,
                                 long timeOutMS) override;

 private:
  HRESULT TypeInfo(ITypeInfo*& info);

  CTlkc& m_control;
  ComPtr<ITypeInfo> m_info;
};

}  // namespace tlk
