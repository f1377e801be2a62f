#include "tools/tlk/host/windows/Members.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "tools/tlk/host/windows/ComFailure.h"

namespace tlk::host {
namespace {

struct MemberForm {
  const wchar_t* name;
  const char* failure;
  WORD kind;
};

constexpr std::array<MemberForm, kMembers> kMemberForms{{
    {L"Connect", "the method Connect", DISPATCH_METHOD},
    {L"Disconnect", "the method Disconnect", DISPATCH_METHOD},
    {L"ConnectionStatus", "the property ConnectionStatus", DISPATCH_PROPERTYGET},
    {L"SendTLKMsg", "the method SendTLKMsg", DISPATCH_METHOD},
    {L"SendReceiveTlkMsg", "the method SendReceiveTlkMsg", DISPATCH_METHOD},
}};

/// What a control says about its failure; frees its texts.
class Exception {
 public:
  Exception() = default;
  ~Exception() {
    SysFreeString(m_info.bstrSource);
    SysFreeString(m_info.bstrDescription);
    SysFreeString(m_info.bstrHelpFile);
  }
  Exception(const Exception&) = delete;
  Exception& operator=(const Exception&) = delete;

  EXCEPINFO* Place() { return &m_info; }

  HRESULT Code() {
    if (m_info.pfnDeferredFillIn != nullptr) m_info.pfnDeferredFillIn(&m_info);
    return m_info.scode != 0 ? m_info.scode : DISP_E_EXCEPTION;
  }

 private:
  EXCEPINFO m_info{};
};

}  // namespace

Members::Members(const ComPtr<IUnknown>& control) {
  Check(control.QueryTo(m_control), "the control's automation interface");
  for (std::size_t i = 0; i < kMembers; ++i) {
    auto* name = const_cast<LPOLESTR>(kMemberForms[i].name);
    Check(m_control->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &m_ids[i]),
          kMemberForms[i].failure);
  }
}

HRESULT Members::Call(Member member, std::initializer_list<VARIANT> arguments,
                      Variant& result) const {
  const auto index = static_cast<std::size_t>(member);
  std::vector<VARIANT> lastToFirst(std::rbegin(arguments), std::rend(arguments));
  DISPPARAMS parameters{lastToFirst.data(), nullptr, static_cast<UINT>(lastToFirst.size()), 0};
  Exception exception;
  const HRESULT hr =
      m_control->Invoke(m_ids[index], IID_NULL, LOCALE_USER_DEFAULT, kMemberForms[index].kind,
                        &parameters, result.Put(), exception.Place(), nullptr);
  if (FAILED(hr)) result = Variant();
  return hr == DISP_E_EXCEPTION ? exception.Code() : hr;
}

VARIANT NumberArgument(LONG number) {
  VARIANT argument{};
  argument.vt = VT_I4;
  argument.lVal = number;
  return argument;
}

VARIANT TextArgument(const Bstr& text) {
  VARIANT argument{};
  argument.vt = VT_BSTR;
  argument.bstrVal = text.Get();
  return argument;
}

VARIANT TextPlaceArgument(BSTR& place) {
  VARIANT argument{};
  argument.vt = VT_BSTR | VT_BYREF;
  argument.pbstrVal = &place;
  return argument;
}

}  // namespace tlk::host
