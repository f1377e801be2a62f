#include "com/Automation.h"

#include <algorithm>
#include <iterator>

#include "com/ComBoundary.h"
#include "com/OutArguments.h"
#include "com/OwnTypeLibrary.h"
#include "platform/windows/Bstr.h"

namespace tlk {
namespace {

constexpr DISPID kSendReceiveTlkMsg = 5;

// How many arguments each member takes, from the first DISPID on.
constexpr UINT kParameterCounts[] = {0, 2, 0, 2, 5};

// Whether there are arrays behind the counts, and no more names than arguments.
bool AreThere(const DISPPARAMS& given) {
  return (given.cArgs == 0 || given.rgvarg != nullptr) &&
         (given.cNamedArgs == 0 || given.rgdispidNamedArgs != nullptr) &&
         given.cNamedArgs <= given.cArgs;
}

// Refuses arguments that the member has no place for; not every system's type information does.
HRESULT CheckArguments(DISPID member, WORD flags, const DISPPARAMS& given) {
  if (!AreThere(given)) return E_INVALIDARG;
  if ((flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) == 0) return S_OK;
  if (member < 1 || member > static_cast<DISPID>(std::size(kParameterCounts))) return S_OK;
  const UINT count = kParameterCounts[member - 1];
  if (given.cArgs > count) return DISP_E_BADPARAMCOUNT;
  const bool areKnown = std::all_of(
      given.rgdispidNamedArgs, given.rgdispidNamedArgs + given.cNamedArgs,
      [count](DISPID named) { return named >= 0 && named < static_cast<DISPID>(count); });
  return areKnown ? S_OK : DISP_E_PARAMNOTFOUND;
}

std::u16string_view View(BSTR text) { return ToUtf16({text, SysStringLen(text)}); }

}  // namespace

STDMETHODIMP Automation::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 1;
  return S_OK;
}

STDMETHODIMP Automation::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  ITypeInfo* own = nullptr;
  const HRESULT result = TypeInfo(own);
  if (SUCCEEDED(result)) *info = ComPtr<ITypeInfo>(own).Detach();
  return result;
}

STDMETHODIMP Automation::GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID,
                                       DISPID* ids) {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  ITypeInfo* own = nullptr;
  const HRESULT result = TypeInfo(own);
  return SUCCEEDED(result) ? own->GetIDsOfNames(names, count, ids) : result;
}

STDMETHODIMP Automation::Invoke(DISPID member, REFIID reserved, LCID, WORD flags,
                                DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                UINT* badArgument) {
  if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (parameters == nullptr) return E_INVALIDARG;
  const HRESULT checked = CheckArguments(member, flags, *parameters);
  if (FAILED(checked)) return checked;
  return AtComBoundary([&] {
    ITypeInfo* own = nullptr;
    const HRESULT loaded = TypeInfo(own);
    if (FAILED(loaded)) return loaded;
    const ComPtr<IUnknown> control(&Controller());
    auto* const self = static_cast<ITlkc*>(this);
    if (member != kSendReceiveTlkMsg) {
      return own->Invoke(self, member, flags, parameters, result, exception, badArgument);
    }
    OutArguments arguments(*parameters);
    if (!arguments.AreWritable()) return DISP_E_TYPEMISMATCH;
    const HRESULT called =
        own->Invoke(self, member, flags, arguments.ForCall(), result, exception, badArgument);
    arguments.HandOver();
    return called;
  });
}

HRESULT Automation::TypeInfo(ITypeInfo*& info) {
  const HRESULT result = m_info ? S_OK : LoadTypeInfo(IID_ITlkc, m_info);
  info = m_info.Get();
  return result;
}

STDMETHODIMP Automation::Disconnect() {
  const ComPtr<IUnknown> control(&Controller());
  return m_control.Disconnect();
}

STDMETHODIMP Automation::Connect(BSTR server, int port, long* pVal) {
  if (pVal == nullptr) return E_POINTER;
  const ComPtr<IUnknown> control(&Controller());
  std::int32_t value = 0;
  const HRESULT result = m_control.Connect(View(server), port, &value);
  if (result == S_OK) *pVal = value;
  return result;
}

STDMETHODIMP Automation::get_ConnectionStatus(::TLK_ConnStatusEnum* pVal) {
  if (pVal == nullptr) return E_POINTER;
  TLK_ConnStatusEnum status = TLK_Not_Connected;
  const HRESULT result = m_control.ConnectionStatus(&status);
  *pVal = static_cast<::TLK_ConnStatusEnum>(status);
  return result;
}

STDMETHODIMP Automation::SendTLKMsg(BSTR message, BSTR data) {
  const ComPtr<IUnknown> control(&Controller());
  return m_control.SendTLKMsg(View(message), View(data));
}

STDMETHODIMP Automation::SendReceiveTlkMsg(BSTR sndMsg, BSTR sndData, BSTR* recMsg, BSTR* recData,
                                           long timeOutMS) {
  if (recMsg == nullptr || recData == nullptr) return E_POINTER;
  const ComPtr<IUnknown> control(&Controller());
  return AtComBoundary([&] {
    std::u16string type;
    std::u16string data;
    bool wasAnswered = false;
    const HRESULT result = m_control.SendReceiveTlkMsg(View(sndMsg), View(sndData), &type, &data,
                                                       timeOutMS, &wasAnswered);
    if (wasAnswered) {
      Bstr typeText(type);
      Bstr dataText(data);
      *recMsg = typeText.Detach();
      *recData = dataText.Detach();
    }
    return result;
  });
}

}  // namespace tlk
