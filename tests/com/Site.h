#pragma once

#include <ocidl.h>
#include <olectl.h>

#include <functional>
#include <string>
#include <utility>

#include "platform/windows/ComPtr.h"
#include "tests/com/OwnComponent.h"

namespace tlk {

/// What a container shows a control, in one object.
class Site final : public OwnComponent<IOleClientSite, IOleInPlaceSite, IOleInPlaceUIWindow,
                                       IOleControlSite, IAdviseSink> {
 public:
  explicit Site(HWND window) : m_window(window) {}

  /// The control's calls since the last time, one blank between them.
  std::string TakeCalls() { return std::exchange(m_calls, {}); }

  std::string refused;                                  ///< The call that fails.
  std::function<void(const std::string& call)> during;  ///< Runs inside each call.
  ComPtr<IOleInPlaceActiveObject> active;               ///< What has the user's attention.

  STDMETHODIMP SaveObject() override { return Note("SaveObject"); }
  STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
  STDMETHODIMP GetContainer(IOleContainer**) override { return E_NOINTERFACE; }
  STDMETHODIMP ShowObject() override { return Note("ShowObject"); }
  STDMETHODIMP OnShowWindow(BOOL shown) override { return Note(shown ? "Shown" : "Unshown"); }
  STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }
  STDMETHODIMP GetWindow(HWND* window) override {
    *window = m_window;
    return Note("GetWindow");
  }
  STDMETHODIMP ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP CanInPlaceActivate() override { return Note("CanInPlaceActivate"); }
  STDMETHODIMP OnInPlaceActivate() override { return Note("OnInPlaceActivate"); }
  STDMETHODIMP OnUIActivate() override { return Note("OnUIActivate"); }
  STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                LPRECT where, LPRECT seen, LPOLEINPLACEFRAMEINFO) override {
    const HRESULT result = Note("GetWindowContext");
    *frame = nullptr;
    *document = ComPtr<IOleInPlaceUIWindow>(SUCCEEDED(result) ? this : nullptr).Detach();
    *where = *seen = {10, 20, 110, 70};
    return result;
  }
  STDMETHODIMP Scroll(SIZE) override { return E_NOTIMPL; }
  STDMETHODIMP OnUIDeactivate(BOOL) override { return Note("OnUIDeactivate"); }
  STDMETHODIMP OnInPlaceDeactivate() override { return Note("OnInPlaceDeactivate"); }
  STDMETHODIMP DiscardUndoState() override { return E_NOTIMPL; }
  STDMETHODIMP DeactivateAndUndo() override { return E_NOTIMPL; }
  STDMETHODIMP OnPosRectChange(LPCRECT) override { return E_NOTIMPL; }

  STDMETHODIMP GetBorder(LPRECT) override { return INPLACE_E_NOTOOLSPACE; }
  STDMETHODIMP RequestBorderSpace(LPCBORDERWIDTHS) override { return INPLACE_E_NOTOOLSPACE; }
  STDMETHODIMP SetBorderSpace(LPCBORDERWIDTHS) override { return Note("SetBorderSpace"); }
  STDMETHODIMP SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) override {
    active = ComPtr<IOleInPlaceActiveObject>(object);
    return Note(object != nullptr ? "SetActive" : "ClearActive");
  }

  STDMETHODIMP OnControlInfoChanged() override { return E_NOTIMPL; }
  STDMETHODIMP LockInPlaceActive(BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP GetExtendedControl(IDispatch**) override { return E_NOTIMPL; }
  STDMETHODIMP TransformCoords(POINTL*, POINTF*, DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP TranslateAccelerator(MSG*, DWORD) override { return Note("Key"); }
  STDMETHODIMP OnFocus(BOOL gained) override { return Note(gained ? "Focus" : "NoFocus"); }
  STDMETHODIMP ShowPropertyFrame() override { return E_NOTIMPL; }

  STDMETHODIMP_(void) OnDataChange(FORMATETC*, STGMEDIUM*) override { Note("OnDataChange"); }
  STDMETHODIMP_(void) OnViewChange(DWORD, LONG) override { Note("OnViewChange"); }
  STDMETHODIMP_(void) OnRename(IMoniker*) override { Note("OnRename"); }
  STDMETHODIMP_(void) OnSave() override { Note("OnSave"); }
  STDMETHODIMP_(void) OnClose() override { Note("OnClose"); }

 private:
  HRESULT Note(const std::string& call) {
    m_calls += (m_calls.empty() ? "" : " ") + call;
    if (during) during(call);
    return call == refused ? E_ABORT : S_OK;
  }

  const HWND m_window;
  std::string m_calls;
};

}  // namespace tlk
