#pragma once

#include <ocidl.h>

#include "com/Embedding.h"
#include "com/Part.h"

namespace tlk {

/// How the control looks: opaque, the same in every device, its content the only aspect.
class ViewObject final : public Part<IViewObjectEx> {
 public:
  ViewObject(IUnknown& controller, Embedding& embedding)
      : Part(controller), m_embedding(embedding) {}

  STDMETHODIMP Draw(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* target,
                    HDC targetDevice, HDC device, LPCRECTL bounds, LPCRECTL metafileBounds,
                    BOOL(STDMETHODCALLTYPE* goOn)(ULONG_PTR), ULONG_PTR goOnArgument) override;
  STDMETHODIMP GetColorSet(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* target,
                           HDC targetDevice, LOGPALETTE** colors) override;
  STDMETHODIMP Freeze(DWORD aspect, LONG index, void* aspectInfo, DWORD* cookie) override;
  STDMETHODIMP Unfreeze(DWORD cookie) override;
  STDMETHODIMP SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) override;
  STDMETHODIMP GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) override;
  STDMETHODIMP GetExtent(DWORD aspect, LONG index, DVTARGETDEVICE* target, LPSIZEL extent) override;
  STDMETHODIMP GetRect(DWORD aspect, LPRECTL area) override;
  STDMETHODIMP GetViewStatus(DWORD* status) override;
  STDMETHODIMP QueryHitPoint(DWORD aspect, LPCRECT bounds, POINT point, LONG distance,
                             DWORD* hit) override;
  STDMETHODIMP QueryHitRect(DWORD aspect, LPCRECT bounds, LPCRECT area, LONG distance,
                            DWORD* hit) override;
  STDMETHODIMP GetNaturalExtent(DWORD aspect, LONG index, DVTARGETDEVICE* target, HDC targetDevice,
                                DVEXTENTINFO* info, LPSIZEL extent) override;

 private:
  Embedding& m_embedding;
};

}  // namespace tlk
