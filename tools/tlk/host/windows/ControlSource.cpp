#include "tools/tlk/host/windows/ControlSource.h"

#include <ole2.h>

#include <array>

#include "platform/AnsiText.h"
#include "platform/Platform.h"
#include "platform/windows/Bstr.h"
#include "platform/windows/ComPtr.h"
#include "tools/tlk/host/windows/ComFailure.h"

namespace tlk::host {
namespace {

constexpr const wchar_t* kProgramId = L"TlkC2.Tlkc";

template <typename Function>
Function* FindFunction(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

std::wstring FullPath(const std::string& path) {
  std::u16string wide;
  SystemPlatform().text.Widen(path, wide);
  const std::wstring given(ToWide(wide));
  std::wstring full(GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(
      GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  return full;
}

/// Whether that type of the library is a class that can be created; its id then.
bool IsCreatableClass(ITypeLib& library, UINT index, CLSID& classId) {
  ComPtr<ITypeInfo> type;
  Check(library.GetTypeInfo(index, type.Put()), "a type of the module's library");
  TYPEATTR* attributes = nullptr;
  Check(type->GetTypeAttr(&attributes), "a type of the module's library");
  const bool isClass =
      attributes->typekind == TKIND_COCLASS && (attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0;
  classId = attributes->guid;
  type->ReleaseTypeAttr(attributes);
  return isClass;
}

CLSID FindClass(const std::wstring& path) {
  ComPtr<ITypeLib> library;
  Check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put()), "the module's type library");
  CLSID classId{};
  for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
    if (IsCreatableClass(*library.Get(), index, classId)) return classId;
  }
  throw ComFailure("a class in the module's type library", TYPE_E_ELEMENTNOTFOUND);
}

std::wstring ToText(const CLSID& classId) {
  std::array<wchar_t, 40> text{};
  StringFromGUID2(classId, text.data(), text.size());
  return text.data();
}

}  // namespace

ControlSource::~ControlSource() {
  if (m_published != 0) CoRevokeClassObject(m_published);
}

const std::wstring& ControlSource::ClassName() {
  if (m_className.empty()) Publish();
  return m_className;
}

void ControlSource::Publish() {
  if (m_path.empty()) {
    CLSID classId{};
    Check(CLSIDFromProgID(kProgramId, &classId), "the registration of TlkC2.Tlkc");
    m_className = kProgramId;
    return;
  }
  const std::wstring path = FullPath(m_path);
  m_module.reset(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  if (!m_module) throw ComFailure(m_path, LastError());

  auto* const getClassObject =
      FindFunction<decltype(DllGetClassObject)>(m_module.get(), "DllGetClassObject");
  if (getClassObject == nullptr) throw ComFailure("DllGetClassObject of " + m_path, LastError());
  const CLSID classId = FindClass(path);
  ComPtr<IUnknown> factory;
  Check(getClassObject(classId, IID_IUnknown, factory.PutVoid()), "the module's class object");
  Check(CoRegisterClassObject(classId, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                              &m_published),
        "making the module's class known");
  m_className = ToText(classId);
}

// A module that is still in use stays.
void ControlSource::Unload::operator()(HMODULE module) const {
  auto* const canUnload = FindFunction<decltype(DllCanUnloadNow)>(module, "DllCanUnloadNow");
  if (canUnload != nullptr && canUnload() == S_OK) FreeLibrary(module);
}

}  // namespace tlk::host
