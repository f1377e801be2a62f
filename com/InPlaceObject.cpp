#include "com/InPlaceObject.h"

namespace tlk {
namespace {

HRESULT GiveWindow(const InPlaceActivation& activation, HWND* window) {
  if (window == nullptr) return E_POINTER;
  *window = activation.Window();
  return *window != nullptr ? S_OK : E_FAIL;
}

}  // namespace

STDMETHODIMP InPlaceObject::GetWindow(HWND* window) { return GiveWindow(m_activation, window); }

STDMETHODIMP InPlaceObject::ContextSensitiveHelp(BOOL) { return E_NOTIMPL; }

STDMETHODIMP InPlaceObject::InPlaceDeactivate() {
  const ComPtr<IUnknown> control(&Controller());
  m_activation.Deactivate();
  return S_OK;
}

STDMETHODIMP InPlaceObject::UIDeactivate() {
  const ComPtr<IUnknown> control(&Controller());
  m_activation.DeactivateInterface();
  return S_OK;
}

STDMETHODIMP InPlaceObject::SetObjectRects(LPCRECT position, LPCRECT clip) {
  if (position == nullptr || clip == nullptr) return E_POINTER;
  return m_activation.SetObjectRects(*position, *clip);
}

STDMETHODIMP InPlaceObject::ReactivateAndUndo() { return INPLACE_E_NOTUNDOABLE; }

STDMETHODIMP InPlaceObject::OnWindowMessage(UINT, WPARAM, LPARAM, LRESULT* result) {
  if (result == nullptr) return E_POINTER;
  *result = 0;
  return S_FALSE;
}

STDMETHODIMP InPlaceObject::GetDropTarget(IDropTarget** target) {
  if (target != nullptr) *target = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP InPlaceActiveObject::GetWindow(HWND* window) {
  return GiveWindow(m_activation, window);
}

STDMETHODIMP InPlaceActiveObject::ContextSensitiveHelp(BOOL) { return E_NOTIMPL; }

STDMETHODIMP InPlaceActiveObject::TranslateAccelerator(LPMSG message) {
  return message != nullptr ? m_activation.OfferKey(message) : E_POINTER;
}

STDMETHODIMP InPlaceActiveObject::OnFrameWindowActivate(BOOL) { return S_OK; }

STDMETHODIMP InPlaceActiveObject::OnDocWindowActivate(BOOL isActive) {
  const ComPtr<IUnknown> control(&Controller());
  if (!isActive) m_activation.DeactivateInterface();
  return S_OK;
}

STDMETHODIMP InPlaceActiveObject::ResizeBorder(LPCRECT, IOleInPlaceUIWindow*, BOOL) { return S_OK; }

STDMETHODIMP InPlaceActiveObject::EnableModeless(BOOL) { return S_OK; }

}  // namespace tlk
