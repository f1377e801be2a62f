#include "tools/tlk/host/windows/EventSink.h"

#include <new>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/windows/Variant.h"

namespace tlk::host {
namespace {

constexpr DISPID kConnStatusChanged = 1;
constexpr DISPID kTlkMsgRecieved = 2;

/// The parameter at that place, counted from the first, as a value of that type.
HRESULT GetParameter(DISPPARAMS& parameters, UINT position, VARTYPE type, Variant& value) {
  return DispGetParam(&parameters, position, type, value.Put(), nullptr);
}

std::string Narrow(const Variant& text) {
  std::string narrow;
  SystemPlatform().text.Narrow(text.Text(), narrow);
  return narrow;
}

}  // namespace

STDMETHODIMP EventSink::QueryInterface(REFIID id, void** object) {
  if (object == nullptr) return E_POINTER;
  const bool isMine = id == IID_IUnknown || id == IID_IDispatch || id == m_id;
  *object = isMine ? static_cast<IDispatch*>(this) : nullptr;
  if (!isMine) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) EventSink::Release() {
  const ULONG left = --m_references;
  if (left == 0) delete this;
  return left;
}

STDMETHODIMP EventSink::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

STDMETHODIMP EventSink::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** type) {
  if (type != nullptr) *type = nullptr;
  return DISP_E_BADINDEX;
}

STDMETHODIMP EventSink::GetIDsOfNames(REFIID /*reserved*/, LPOLESTR* /*names*/, UINT /*count*/,
                                      LCID /*locale*/, DISPID* /*ids*/) {
  return DISP_E_UNKNOWNNAME;
}

STDMETHODIMP EventSink::Invoke(DISPID id, REFIID /*reserved*/, LCID /*locale*/, WORD /*kind*/,
                               DISPPARAMS* parameters, VARIANT* /*result*/,
                               EXCEPINFO* /*exception*/, UINT* /*badArgument*/) try {
  if (parameters == nullptr) return E_POINTER;
  if (id == kConnStatusChanged) return HearStatus(*parameters);
  if (id == kTlkMsgRecieved) return HearMessage(*parameters);
  return DISP_E_MEMBERNOTFOUND;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
} catch (...) {
  return E_UNEXPECTED;
}

HRESULT EventSink::HearStatus(DISPPARAMS& parameters) {
  Variant status;
  const HRESULT hr = GetParameter(parameters, 0, VT_I4, status);
  if (SUCCEEDED(hr)) m_events.OnStatus(status.Get().lVal);
  return hr;
}

HRESULT EventSink::HearMessage(DISPPARAMS& parameters) {
  Variant type;
  Variant data;
  HRESULT hr = GetParameter(parameters, 0, VT_BSTR, type);
  if (SUCCEEDED(hr)) hr = GetParameter(parameters, 1, VT_BSTR, data);
  if (SUCCEEDED(hr)) m_events.OnMessage(Narrow(type), Narrow(data));
  return hr;
}

}  // namespace tlk::host
