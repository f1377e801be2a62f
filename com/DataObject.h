#pragma once

#include <objidl.h>

#include "com/Embedding.h"
#include "com/Part.h"

namespace tlk {

/// The control as a source of data: a picture of itself, as a metafile, and nothing else.
class DataObject final : public Part<IDataObject> {
 public:
  DataObject(IUnknown& controller, Embedding& embedding)
      : Part(controller), m_embedding(embedding) {}

  STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHODIMP GetDataHere(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHODIMP QueryGetData(FORMATETC* format) override;
  STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) override;
  STDMETHODIMP SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release) override;
  STDMETHODIMP EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override;
  STDMETHODIMP DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* cookie) override;
  STDMETHODIMP DUnadvise(DWORD cookie) override;
  STDMETHODIMP EnumDAdvise(IEnumSTATDATA** advisees) override;

 private:
  Embedding& m_embedding;
};

}  // namespace tlk
