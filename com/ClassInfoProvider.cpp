#include "com/ClassInfoProvider.h"

#include <TlkC2.h>

#include "com/OwnTypeLibrary.h"

namespace tlk {

STDMETHODIMP ClassInfoProvider::GetClassInfo(ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  ComPtr<ITypeInfo> loaded;
  const HRESULT result = LoadTypeInfo(CLSID_Tlkc, loaded);
  if (SUCCEEDED(result)) *info = loaded.Detach();
  return result;
}

STDMETHODIMP ClassInfoProvider::GetGUID(DWORD kind, GUID* id) {
  if (id == nullptr) return E_POINTER;
  *id = GUID_NULL;
  if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
  *id = DIID__ITlkcEvents;
  return S_OK;
}

}  // namespace tlk
