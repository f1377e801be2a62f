#include "com/OwnTypeLibrary.h"

#include "com/ComBoundary.h"
#include "com/Module.h"

namespace tlk {

HRESULT LoadTypeInfo(REFGUID type, ComPtr<ITypeInfo>& info) {
  return AtComBoundary([&] {
    ComPtr<ITypeLib> library;
    const HRESULT loaded = LoadTypeLibEx(Module::Get().Path().c_str(), REGKIND_NONE, library.Put());
    return SUCCEEDED(loaded) ? library->GetTypeInfoOfGuid(type, info.Put()) : loaded;
  });
}

}  // namespace tlk
