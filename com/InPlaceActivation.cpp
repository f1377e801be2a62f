#include "com/InPlaceActivation.h"

#include <olectl.h>

#include "platform/windows/Variant.h"

namespace tlk {
namespace {

constexpr const wchar_t* kUserName = L"Tlkc";

// Whether the container lets its user design rather than use the control; most tell nothing.
bool IsBeingDesigned(const Embedding& embedding) {
  const auto ambient = embedding.SiteAs<IDispatch>();
  if (!ambient) return false;
  DISPPARAMS none{};
  Variant userMode;
  const HRESULT told =
      ambient->Invoke(DISPID_AMBIENT_USERMODE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                      &none, userMode.Put(), nullptr, nullptr);
  return SUCCEEDED(told) && userMode.Type() == VT_BOOL && userMode.Get().boolVal == VARIANT_FALSE;
}

DWORD ModifierKeys() {
  const auto isDown = [](int key) { return (GetKeyState(key) & 0x8000) != 0; };
  return (isDown(VK_SHIFT) ? 1U : 0U) | (isDown(VK_CONTROL) ? 2U : 0U) |
         (isDown(VK_MENU) ? 4U : 0U);
}

}  // namespace

/// Where the container has the control.
struct InPlaceActivation::Place {
  HWND parent = nullptr;
  RECT position{};
  RECT clip{};
};

HRESULT InPlaceActivation::Activate(bool withInterface) {
  const ComPtr<IOleClientSite> client = m_embedding.Site();
  if (!client) return E_UNEXPECTED;
  if (!m_isActive) {
    const HRESULT entered = EnterPlace();
    if (FAILED(entered)) return entered;
  }
  const ComPtr<IOleInPlaceSite> site = m_site;
  Place place;
  OLEINPLACEFRAMEINFO frameInfo{};
  frameInfo.cb = sizeof frameInfo;
  HRESULT result = site->GetWindow(&place.parent);
  if (SUCCEEDED(result)) {
    result = site->GetWindowContext(m_frame.Put(), m_document.Put(), &place.position, &place.clip,
                                    &frameInfo);
  }
  if (SUCCEEDED(result)) result = ShowWindowAt(place);
  if (FAILED(result)) {
    Deactivate();
    return result;
  }
  if (withInterface) ActivateInterface();
  client->ShowObject();
  return S_OK;
}

HRESULT InPlaceActivation::EnterPlace() {
  const auto site = m_embedding.SiteAs<IOleInPlaceSite>();
  if (!site) return E_NOINTERFACE;
  const HRESULT allowed = site->CanInPlaceActivate();
  if (allowed != S_OK) return FAILED(allowed) ? allowed : E_FAIL;
  const HRESULT entered = site->OnInPlaceActivate();
  if (FAILED(entered)) return entered;
  m_site = site;
  m_isActive = true;
  return S_OK;
}

HRESULT InPlaceActivation::ShowWindowAt(const Place& place) {
  if (!m_isActive) return E_UNEXPECTED;  // The site has ended it meanwhile.
  if (m_window.Handle() == nullptr && !m_window.Create(place.parent, place.position)) {
    return HRESULT_FROM_WIN32(GetLastError());
  }
  m_window.Place(place.position, place.clip);
  ShowWindow(m_window.Handle(), SW_SHOW);
  return S_OK;
}

void InPlaceActivation::ActivateInterface() {
  if (m_isInterfaceActive || !m_isActive) return;
  m_isInterfaceActive = true;
  const ComPtr<IOleInPlaceSite> site = m_site;
  const ComPtr<IOleInPlaceFrame> frame = m_frame;
  const ComPtr<IOleInPlaceUIWindow> document = m_document;
  site->OnUIActivate();
  if (m_window.Handle() != nullptr) SetFocus(m_window.Handle());
  ComPtr<IOleInPlaceActiveObject> active;
  (void)m_control.QueryInterface(IID_IOleInPlaceActiveObject, active.PutVoid());
  if (frame) {
    frame->SetActiveObject(active.Get(), kUserName);
    frame->SetBorderSpace(nullptr);
  }
  if (document) {
    document->SetActiveObject(active.Get(), kUserName);
    document->SetBorderSpace(nullptr);
  }
}

void InPlaceActivation::DeactivateInterface() {
  if (!m_isInterfaceActive) return;
  m_isInterfaceActive = false;
  const ComPtr<IOleInPlaceSite> site = m_site;
  const ComPtr<IOleInPlaceFrame> frame = m_frame;
  const ComPtr<IOleInPlaceUIWindow> document = m_document;
  if (document) document->SetActiveObject(nullptr, nullptr);
  if (frame) frame->SetActiveObject(nullptr, nullptr);
  site->OnUIDeactivate(FALSE);
}

void InPlaceActivation::Deactivate() {
  if (!m_isActive) return;
  DeactivateInterface();
  m_isActive = false;
  m_window.Destroy();
  m_frame = nullptr;
  m_document = nullptr;
  const ComPtr<IOleInPlaceSite> site = std::exchange(m_site, nullptr);
  if (site) site->OnInPlaceDeactivate();
}

void InPlaceActivation::Hide() {
  DeactivateInterface();
  if (m_window.Handle() != nullptr) ShowWindow(m_window.Handle(), SW_HIDE);
}

HRESULT InPlaceActivation::SetObjectRects(const RECT& position, const RECT& clip) {
  if (m_window.Handle() != nullptr) m_window.Place(position, clip);
  return S_OK;
}

HRESULT InPlaceActivation::OfferKey(MSG* key) {
  const auto site = m_embedding.SiteAs<IOleControlSite>();
  return site ? site->TranslateAccelerator(key, ModifierKeys()) : S_FALSE;
}

void InPlaceActivation::OnFocus(bool gained) {
  const auto site = m_embedding.SiteAs<IOleControlSite>();
  if (m_isActive && site) site->OnFocus(gained);
}

void InPlaceActivation::OnClicked() {
  if (!m_isInterfaceActive && !IsBeingDesigned(m_embedding)) (void)Activate(true);
}

}  // namespace tlk
