#include "com/DataObject.h"

#include "com/ComBoundary.h"
#include "com/Enumerator.h"
#include "com/Face.h"

namespace tlk {
namespace {

constexpr FORMATETC kPicture{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};

struct OwnedFormat {
  void CopyTo(FORMATETC& format) const { format = kPicture; }
};

// A picture of that size, in hundredths of a millimetre; null when the system makes none.
HGLOBAL MakePicture(SIZEL extent) {
  const HDC device = CreateMetaFileW(nullptr);
  if (device == nullptr) return nullptr;
  SetMapMode(device, MM_ANISOTROPIC);
  SetWindowOrgEx(device, 0, 0, nullptr);
  SetWindowExtEx(device, extent.cx, extent.cy, nullptr);
  DrawFace(device, {0, 0, extent.cx, extent.cy});
  const HMETAFILE drawing = CloseMetaFile(device);
  if (drawing == nullptr) return nullptr;

  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE | GMEM_SHARE, sizeof(METAFILEPICT));
  auto* const picture =
      static_cast<METAFILEPICT*>(memory != nullptr ? GlobalLock(memory) : nullptr);
  if (picture == nullptr) {
    DeleteMetaFile(drawing);
    GlobalFree(memory);
    return nullptr;
  }
  *picture = {MM_ANISOTROPIC, extent.cx, extent.cy, drawing};
  GlobalUnlock(memory);
  return memory;
}

}  // namespace

STDMETHODIMP DataObject::GetData(FORMATETC* format, STGMEDIUM* medium) {
  if (format == nullptr || medium == nullptr) return E_POINTER;
  *medium = {};
  const HRESULT known = QueryGetData(format);
  if (known != S_OK) return known;
  medium->hMetaFilePict = MakePicture(m_embedding.Extent());
  if (medium->hMetaFilePict == nullptr) return STG_E_MEDIUMFULL;
  medium->tymed = TYMED_MFPICT;
  return S_OK;
}

STDMETHODIMP DataObject::GetDataHere(FORMATETC*, STGMEDIUM*) { return E_NOTIMPL; }

STDMETHODIMP DataObject::QueryGetData(FORMATETC* format) {
  if (format == nullptr) return E_POINTER;
  if (format->cfFormat != kPicture.cfFormat) return DV_E_FORMATETC;
  if (format->dwAspect != kPicture.dwAspect) return DV_E_DVASPECT;
  if (format->lindex != kPicture.lindex) return DV_E_LINDEX;
  return (format->tymed & kPicture.tymed) != 0 ? S_OK : DV_E_TYMED;
}

STDMETHODIMP DataObject::GetCanonicalFormatEtc(FORMATETC*, FORMATETC* canonical) {
  if (canonical == nullptr) return E_POINTER;
  canonical->ptd = nullptr;
  return DATA_S_SAMEFORMATETC;
}

STDMETHODIMP DataObject::SetData(FORMATETC*, STGMEDIUM*, BOOL) { return E_NOTIMPL; }

STDMETHODIMP DataObject::EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) {
  if (formats == nullptr) return E_POINTER;
  *formats = nullptr;
  if (direction != DATADIR_GET) return E_NOTIMPL;
  return AtComBoundary([&] {
    return Enumerator<IEnumFORMATETC, FORMATETC, OwnedFormat>::Make({OwnedFormat{}}, formats);
  });
}

STDMETHODIMP DataObject::DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* cookie) {
  if (format == nullptr || sink == nullptr || cookie == nullptr) return E_POINTER;
  const HRESULT known = QueryGetData(format);
  if (known != S_OK) return known;
  const auto advisees = m_embedding.DataAdvisees();
  return advisees != nullptr ? advisees->Advise(this, format, flags, sink, cookie) : E_OUTOFMEMORY;
}

STDMETHODIMP DataObject::DUnadvise(DWORD cookie) {
  const auto advisees = m_embedding.DataAdvisees();
  return advisees != nullptr ? advisees->Unadvise(cookie) : E_OUTOFMEMORY;
}

STDMETHODIMP DataObject::EnumDAdvise(IEnumSTATDATA** all) {
  if (all == nullptr) return E_POINTER;
  const auto advisees = m_embedding.DataAdvisees();
  return advisees != nullptr ? advisees->EnumAdvise(all) : E_OUTOFMEMORY;
}

}  // namespace tlk
