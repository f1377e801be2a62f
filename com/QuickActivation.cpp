#include "com/QuickActivation.h"

#include "com/OleObject.h"

namespace tlk {

STDMETHODIMP QuickActivation::QuickActivate(QACONTAINER* container, QACONTROL* control) {
  if (container == nullptr || control == nullptr) return E_POINTER;
  if (container->cbSize < sizeof(QACONTAINER) || control->cbSize < sizeof(QACONTROL)) {
    return E_UNEXPECTED;
  }
  *control = {};
  control->cbSize = sizeof(QACONTROL);
  control->dwMiscStatus = kMiscStatus;
  control->dwViewStatus = VIEWSTATUS_OPAQUE;
  control->dwPointerActivationPolicy = 0;
  m_object.SetClientSite(container->pClientSite);
  if (container->pAdviseSink != nullptr) {
    m_view.SetAdvise(DVASPECT_CONTENT, 0, container->pAdviseSink);
  }
  return Connect(*container, *control);
}

HRESULT QuickActivation::Connect(const QACONTAINER& container, QACONTROL& control) {
  if (container.pUnkEventSink != nullptr) {
    const HRESULT advised =
        m_points.Events().Advise(container.pUnkEventSink, &control.dwEventCookie);
    if (FAILED(advised)) return advised;
  }
  if (container.pPropertyNotifySink != nullptr) {
    return m_points.PropertyChanges().Advise(container.pPropertyNotifySink,
                                             &control.dwPropNotifyCookie);
  }
  return S_OK;
}

STDMETHODIMP QuickActivation::SetContentExtent(LPSIZEL extent) {
  return m_object.SetExtent(DVASPECT_CONTENT, extent);
}

STDMETHODIMP QuickActivation::GetContentExtent(LPSIZEL extent) {
  return m_object.GetExtent(DVASPECT_CONTENT, extent);
}

}  // namespace tlk
