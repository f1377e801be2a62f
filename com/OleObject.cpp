#include "com/OleObject.h"

#include <TlkC2.h>

#include <algorithm>
#include <string_view>

namespace tlk {
namespace {

constexpr std::wstring_view kUserType = L"Tlkc Class";

}  // namespace

STDMETHODIMP OleObject::SetClientSite(IOleClientSite* site) {
  const ComPtr<IUnknown> control(&Controller());
  if (site != m_embedding.Site().Get()) m_activation.Deactivate();
  m_embedding.SetSite(site);
  return S_OK;
}

STDMETHODIMP OleObject::GetClientSite(IOleClientSite** site) {
  if (site == nullptr) return E_POINTER;
  *site = ComPtr<IOleClientSite>(m_embedding.Site()).Detach();
  return S_OK;
}

STDMETHODIMP OleObject::SetHostNames(LPCOLESTR, LPCOLESTR) { return S_OK; }

STDMETHODIMP OleObject::Close(DWORD saveOption) {
  const ComPtr<IUnknown> control(&Controller());
  const auto site = m_embedding.Site();
  if (site && m_activation.Window() != nullptr) site->OnShowWindow(FALSE);
  m_activation.Deactivate();
  SaveIfAsked(saveOption);
  m_embedding.TellClosed();
  return S_OK;
}

// There is nobody to prompt: what has changed is saved, as if the user had wanted it.
void OleObject::SaveIfAsked(DWORD saveOption) {
  const auto site = m_embedding.Site();
  if (saveOption == OLECLOSE_NOSAVE || !m_embedding.IsDirty() || !site) return;
  if (SUCCEEDED(site->SaveObject())) m_embedding.TellSaved();
}

STDMETHODIMP OleObject::SetMoniker(DWORD, IMoniker*) { return E_NOTIMPL; }

STDMETHODIMP OleObject::GetMoniker(DWORD, DWORD, IMoniker** moniker) {
  if (moniker != nullptr) *moniker = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP OleObject::InitFromData(IDataObject*, BOOL, DWORD) { return E_NOTIMPL; }

STDMETHODIMP OleObject::GetClipboardData(DWORD, IDataObject** data) {
  if (data != nullptr) *data = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP OleObject::DoVerb(LONG verb, LPMSG, IOleClientSite*, LONG, HWND, LPCRECT) {
  const ComPtr<IUnknown> control(&Controller());
  switch (verb) {
    case OLEIVERB_PRIMARY:
    case OLEIVERB_SHOW:
    case OLEIVERB_OPEN:  // The control has no window outside of the container.
    case OLEIVERB_INPLACEACTIVATE:
      return m_activation.Activate(false);
    case OLEIVERB_UIACTIVATE:
      return m_activation.Activate(true);
    case OLEIVERB_HIDE:
      m_activation.Hide();
      return S_OK;
    case OLEIVERB_DISCARDUNDOSTATE:
      return S_OK;
    default:
      return verb > 0 ? DoUnknownVerb() : E_NOTIMPL;
  }
}

// A verb that the control does not know does what the primary one does, and the result says so.
HRESULT OleObject::DoUnknownVerb() {
  const HRESULT activated = m_activation.Activate(false);
  return SUCCEEDED(activated) ? OLEOBJ_S_INVALIDVERB : activated;
}

STDMETHODIMP OleObject::EnumVerbs(IEnumOLEVERB** verbs) {
  if (verbs == nullptr) return E_POINTER;
  return OleRegEnumVerbs(CLSID_Tlkc, verbs);
}

STDMETHODIMP OleObject::Update() { return S_OK; }
STDMETHODIMP OleObject::IsUpToDate() { return S_OK; }

STDMETHODIMP OleObject::GetUserClassID(CLSID* id) {
  if (id == nullptr) return E_POINTER;
  *id = CLSID_Tlkc;
  return S_OK;
}

STDMETHODIMP OleObject::GetUserType(DWORD, LPOLESTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = static_cast<LPOLESTR>(CoTaskMemAlloc((kUserType.size() + 1) * sizeof(wchar_t)));
  if (*name == nullptr) return E_OUTOFMEMORY;
  *std::copy(kUserType.begin(), kUserType.end(), *name) = L'\0';
  return S_OK;
}

STDMETHODIMP OleObject::SetExtent(DWORD aspect, SIZEL* extent) {
  if (extent == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  m_embedding.SetExtent(*extent);
  return S_OK;
}

STDMETHODIMP OleObject::GetExtent(DWORD aspect, SIZEL* extent) {
  if (extent == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  *extent = m_embedding.Extent();
  return S_OK;
}

STDMETHODIMP OleObject::Advise(IAdviseSink* sink, DWORD* cookie) {
  if (sink == nullptr || cookie == nullptr) return E_POINTER;
  const auto advisees = m_embedding.Advisees();
  return advisees != nullptr ? advisees->Advise(sink, cookie) : E_OUTOFMEMORY;
}

STDMETHODIMP OleObject::Unadvise(DWORD cookie) {
  const auto advisees = m_embedding.Advisees();
  return advisees != nullptr ? advisees->Unadvise(cookie) : E_OUTOFMEMORY;
}

STDMETHODIMP OleObject::EnumAdvise(IEnumSTATDATA** all) {
  if (all == nullptr) return E_POINTER;
  const auto advisees = m_embedding.Advisees();
  return advisees != nullptr ? advisees->EnumAdvise(all) : E_OUTOFMEMORY;
}

STDMETHODIMP OleObject::GetMiscStatus(DWORD aspect, DWORD* status) {
  if (status == nullptr) return E_POINTER;
  *status = aspect == DVASPECT_CONTENT ? kMiscStatus : 0;
  return S_OK;
}

STDMETHODIMP OleObject::SetColorScheme(LOGPALETTE*) { return E_NOTIMPL; }

}  // namespace tlk
