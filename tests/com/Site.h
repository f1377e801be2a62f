#pragma once

#include <TlkC2.h>
#include <gtest/gtest.h>
#include <ocidl.h>
#include <olectl.h>

#include <functional>
#include <string>
#include <utility>

#include "platform/windows/ComPtr.h"

namespace tlk {

/// A component on the stack of a test: nobody may hold it in the end.
template <typename... Interfaces>
struct OwnComponent : Interfaces... {
  ~OwnComponent() { EXPECT_EQ(references, 1U); }

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    *object = nullptr;
    ((iid == __uuidof(Interfaces) ? void(*object = static_cast<Interfaces*>(this)) : void()), ...);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
  STDMETHODIMP_(ULONG) Release() override { return --references; }

  ULONG references = 1;
};

/// What a container shows a control, and a sink of the control's events, in one object.
struct Site final : OwnComponent<IOleClientSite, IOleInPlaceSite, IOleInPlaceUIWindow,
                                 IOleControlSite, IAdviseSink, _ITlkcEvents> {
  /// The container's, for all sites.
  static inline const HWND window = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 400, 300,
                                                    nullptr, nullptr, nullptr, nullptr);

  std::string calls;                       ///< The control's, one blank between them.
  std::string awaited;                     ///< The call that is treated in a way of its own:
  std::function<void()> during;            ///< this runs inside the first,
  HRESULT answer = S_OK;                   ///< and this is the result of each.
  ComPtr<IOleInPlaceActiveObject> active;  ///< What has the user's attention.

  STDMETHODIMP SaveObject() override { return Note("SaveObject"); }
  STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
  STDMETHODIMP GetContainer(IOleContainer**) override { return E_NOINTERFACE; }
  STDMETHODIMP ShowObject() override { return Note("ShowObject"); }
  STDMETHODIMP OnShowWindow(BOOL shown) override { return Note(shown ? "Shown" : "Unshown"); }
  STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }
  STDMETHODIMP GetWindow(HWND* given) override {
    *given = window;
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
    if (event == 1) return Note("status " + std::to_string(value[0].lVal));
    const std::wstring told = value[1].bstrVal + std::wstring(L" ") + value[0].bstrVal;
    return Note({told.begin(), told.end()});
  }

  HRESULT Note(const std::string& call) {
    calls += (calls.empty() ? "" : " ") + call;
    if (call != awaited) return S_OK;
    if (during) std::exchange(during, nullptr)();
    return answer;
  }
};

}  // namespace tlk
