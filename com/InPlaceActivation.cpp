#include "com/InPlaceActivation.h"

#include <olectl.h>

#include "platform/windows/Variant.h"

namespace tlk {
namespace {

constexpr const wchar_t* kUserName = L"Tlkc";

// Whether the container is in its design mode, in which a click does not start the control. One
// that does not say is not.
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
  ComPtr<IOleInPlaceFrame> frame;
  ComPtr<IOleInPlaceUIWindow> document;
};

HRESULT InPlaceActivation::Activate(bool withInterface) {
  const ComPtr<IOleClientSite> client = m_embedding.Site();
  if (!client) return E_UNEXPECTED;
  HRESULT result = EnterPlace();
  if (FAILED(result)) return result;
  Place place;
  result = AskForPlace(place);
  if (SUCCEEDED(result)) result = ShowWindowAt(place);
  if (FAILED(result)) {
    Deactivate();
    return result;
  }
  if (withInterface) result = ActivateInterface();
  if (SUCCEEDED(result)) client->ShowObject();
  return result;
}

HRESULT InPlaceActivation::EnterPlace() {
  if (m_isActive) return S_OK;
  const auto site = m_embedding.SiteAs<IOleInPlaceSite>();
  if (!site) return E_NOINTERFACE;
  const HRESULT allowed = site->CanInPlaceActivate();
  if (allowed != S_OK) return FAILED(allowed) ? allowed : E_FAIL;
  if (!m_embedding.Site()) return E_UNEXPECTED;
  // Marked as active first: the site may deactivate the control inside the call.
  m_site = site;
  m_isActive = true;
  const HRESULT entered = site->OnInPlaceActivate();
  if (FAILED(entered)) (void)LeavePlace();
  return entered;
}

HRESULT InPlaceActivation::AskForPlace(Place& place) const {
  const ComPtr<IOleInPlaceSite> site = m_site;
  if (!site) return E_UNEXPECTED;
  const HRESULT given = site->GetWindow(&place.parent);
  if (FAILED(given)) return given;
  OLEINPLACEFRAMEINFO frameInfo{};
  frameInfo.cb = sizeof frameInfo;
  return site->GetWindowContext(place.frame.Put(), place.document.Put(), &place.position,
                                &place.clip, &frameInfo);
}

HRESULT InPlaceActivation::ShowWindowAt(Place& place) {
  if (!m_isActive) return E_UNEXPECTED;  // The site has ended it meanwhile.
  m_frame = std::move(place.frame);
  m_document = std::move(place.document);
  if (m_window.Handle() == nullptr && !m_window.Create(place.parent, place.position)) {
    const HRESULT error = HRESULT_FROM_WIN32(GetLastError());
    return FAILED(error) ? error : E_FAIL;
  }
  m_window.Place(place.position, place.clip);
  ShowWindow(m_window.Handle(), SW_SHOW);
  return m_isActive ? S_OK : E_UNEXPECTED;
}

ComPtr<IOleInPlaceSite> InPlaceActivation::LeavePlace() {
  m_isActive = false;
  m_window.Destroy();
  m_frame = nullptr;
  m_document = nullptr;
  return std::exchange(m_site, nullptr);
}

HRESULT InPlaceActivation::ActivateInterface() {
  if (m_isInterfaceActive) return S_OK;
  m_isInterfaceActive = true;
  const ComPtr<IOleInPlaceSite> site = m_site;
  const HRESULT allowed = site->OnUIActivate();
  if (FAILED(allowed)) {
    m_isInterfaceActive = false;
    return allowed;
  }
  if (m_isInterfaceActive && m_window.Handle() != nullptr) SetFocus(m_window.Handle());
  ComPtr<IOleInPlaceActiveObject> active;
  (void)m_control.QueryInterface(IID_IOleInPlaceActiveObject, active.PutVoid());
  TakeBorders(ComPtr<IOleInPlaceUIWindow>(m_frame.Get()), active.Get());
  TakeBorders(ComPtr<IOleInPlaceUIWindow>(m_document.Get()), active.Get());
  return m_isInterfaceActive ? S_OK : E_UNEXPECTED;
}

// Tells a window nothing once the activity has ended: what it was told then, nobody would take
// back.
void InPlaceActivation::TakeBorders(const ComPtr<IOleInPlaceUIWindow>& window,
                                    IOleInPlaceActiveObject* active) {
  if (!window || !m_isInterfaceActive) return;
  window->SetActiveObject(active, kUserName);
  if (m_isInterfaceActive) window->SetBorderSpace(nullptr);
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
  const ComPtr<IOleInPlaceSite> site = LeavePlace();
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

// A user who gives the control the focus wants to use it, as one who clicks on it does.
void InPlaceActivation::OnFocus(bool gained) {
  if (gained) OnUsed();
  const auto site = m_embedding.SiteAs<IOleControlSite>();
  if (m_isActive && site) site->OnFocus(gained);
}

void InPlaceActivation::OnUsed() {
  if (!m_isInterfaceActive && !IsBeingDesigned(m_embedding)) (void)Activate(true);
}

}  // namespace tlk
