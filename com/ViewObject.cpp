#include "com/ViewObject.h"

#include <algorithm>

#include "com/Face.h"

namespace tlk {
namespace {

// Restores the state of a device context at the end of a scope.
class DeviceScope {
 public:
  explicit DeviceScope(HDC device) : m_device(device), m_state(SaveDC(device)) {}
  ~DeviceScope() { RestoreDC(m_device, m_state); }

  DeviceScope(const DeviceScope&) = delete;
  DeviceScope& operator=(const DeviceScope&) = delete;

 private:
  const HDC m_device;
  const int m_state;
};

// The area in device units. An axis of the device may run the other way, hence the sorting.
RECT InDeviceUnits(HDC device, const RECTL& area) {
  POINT corners[] = {{area.left, area.top}, {area.right, area.bottom}};
  LPtoDP(device, corners, 2);
  const auto [left, right] = std::minmax(corners[0].x, corners[1].x);
  const auto [top, bottom] = std::minmax(corners[0].y, corners[1].y);
  return {left, top, right, bottom};
}

bool IsMetafile(HDC device) {
  const DWORD kind = GetObjectType(device);
  return kind == OBJ_METADC || kind == OBJ_ENHMETADC;
}

}  // namespace

STDMETHODIMP ViewObject::Draw(DWORD aspect, LONG, void*, DVTARGETDEVICE*, HDC, HDC device,
                              LPCRECTL bounds, LPCRECTL, BOOL(STDMETHODCALLTYPE*)(ULONG_PTR),
                              ULONG_PTR) {
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  if (device == nullptr) return E_INVALIDARG;
  if (bounds == nullptr) return E_POINTER;
  RECT area{bounds->left, bounds->top, bounds->right, bounds->bottom};
  const DeviceScope scope(device);
  if (!IsMetafile(device)) {
    area = InDeviceUnits(device, *bounds);
    SetMapMode(device, MM_TEXT);
    SetWindowOrgEx(device, 0, 0, nullptr);
    SetViewportOrgEx(device, 0, 0, nullptr);
    // The text may be wider than the area.
    IntersectClipRect(device, area.left, area.top, area.right, area.bottom);
  }
  DrawFace(device, area);
  return S_OK;
}

STDMETHODIMP ViewObject::GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC,
                                     LOGPALETTE** colors) {
  if (colors == nullptr) return E_POINTER;
  *colors = nullptr;
  return S_FALSE;
}

STDMETHODIMP ViewObject::Freeze(DWORD, LONG, void*, DWORD*) { return E_NOTIMPL; }
STDMETHODIMP ViewObject::Unfreeze(DWORD) { return E_NOTIMPL; }

STDMETHODIMP ViewObject::SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) {
  if (sink != nullptr && (aspects & DVASPECT_CONTENT) == 0) return DV_E_DVASPECT;
  m_embedding.SetViewAdvise(aspects, flags, sink);
  return S_OK;
}

STDMETHODIMP ViewObject::GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) {
  m_embedding.GetViewAdvise(aspects, flags, sink);
  return S_OK;
}

STDMETHODIMP ViewObject::GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL extent) {
  if (extent == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  *extent = m_embedding.Extent();
  return S_OK;
}

STDMETHODIMP ViewObject::GetRect(DWORD aspect, LPRECTL area) {
  if (area == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  const SIZEL extent = m_embedding.Extent();
  *area = {0, 0, extent.cx, extent.cy};
  return S_OK;
}

STDMETHODIMP ViewObject::GetViewStatus(DWORD* status) {
  if (status == nullptr) return E_POINTER;
  *status = VIEWSTATUS_OPAQUE;
  return S_OK;
}

STDMETHODIMP ViewObject::QueryHitPoint(DWORD aspect, LPCRECT bounds, POINT point, LONG,
                                       DWORD* hit) {
  if (bounds == nullptr || hit == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  *hit = PtInRect(bounds, point) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
  return S_OK;
}

STDMETHODIMP ViewObject::QueryHitRect(DWORD aspect, LPCRECT bounds, LPCRECT area, LONG,
                                      DWORD* hit) {
  if (bounds == nullptr || area == nullptr || hit == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  RECT common{};
  *hit = IntersectRect(&common, bounds, area) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
  return S_OK;
}

STDMETHODIMP ViewObject::GetNaturalExtent(DWORD, LONG, DVTARGETDEVICE*, HDC, DVEXTENTINFO*,
                                          LPSIZEL) {
  return E_NOTIMPL;
}

}  // namespace tlk
