#include "com/Registrar.h"

namespace tlk {

/// The interface of the system's processor, which no header declares. The order of the methods is
/// the system's.
struct SystemRegistrar : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR key, LPCOLESTR item) = 0;
  virtual HRESULT STDMETHODCALLTYPE ClearReplacements() = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceRegisterSz(LPCOLESTR, LPCOLESTR, LPCOLESTR) = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceUnregisterSz(LPCOLESTR, LPCOLESTR, LPCOLESTR) = 0;
  virtual HRESULT STDMETHODCALLTYPE FileRegister(LPCOLESTR) = 0;
  virtual HRESULT STDMETHODCALLTYPE FileUnregister(LPCOLESTR) = 0;
  virtual HRESULT STDMETHODCALLTYPE StringRegister(LPCOLESTR) = 0;
  virtual HRESULT STDMETHODCALLTYPE StringUnregister(LPCOLESTR) = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceRegister(LPCOLESTR file, UINT id, LPCOLESTR type) = 0;
  virtual HRESULT STDMETHODCALLTYPE ResourceUnregister(LPCOLESTR file, UINT id, LPCOLESTR type) = 0;
};

namespace {

constexpr CLSID kRegistrarClass{
    0x44EC053A, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};
constexpr IID kRegistrarInterface{
    0x44EC053B, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};
constexpr const wchar_t* kScriptType = L"REGISTRY";

using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);

/// The text with each apostrophe doubled: scripts put it between apostrophes.
std::wstring Quotable(const std::wstring& text) {
  std::wstring quotable;
  for (const wchar_t character : text) {
    quotable.append(character == L'\'' ? 2 : 1, character);
  }
  return quotable;
}

HRESULT CreateRegistrar(HMODULE library, ComPtr<SystemRegistrar>& registrar) {
  const auto getClassObject = reinterpret_cast<GetClassObject>(
      reinterpret_cast<void (*)()>(GetProcAddress(library, "DllGetClassObject")));
  if (getClassObject == nullptr) return HRESULT_FROM_WIN32(GetLastError());
  ComPtr<IClassFactory> factory;
  const HRESULT found = getClassObject(kRegistrarClass, IID_IClassFactory, factory.PutVoid());
  if (FAILED(found)) return found;
  return factory->CreateInstance(nullptr, kRegistrarInterface, registrar.PutVoid());
}

}  // namespace

Registrar::Registrar() = default;

Registrar::~Registrar() {
  m_registrar = nullptr;
  if (m_library != nullptr) FreeLibrary(m_library);
}

HRESULT Registrar::Open(const std::wstring& module) {
  m_module = module;
  m_library = LoadLibraryExW(L"atl.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (m_library == nullptr) return HRESULT_FROM_WIN32(GetLastError());
  const HRESULT created = CreateRegistrar(m_library, m_registrar);
  if (FAILED(created)) return created;
  return m_registrar->AddReplacement(L"MODULE", Quotable(module).c_str());
}

HRESULT Registrar::Add(UINT id) const {
  return m_registrar->ResourceRegister(m_module.c_str(), id, kScriptType);
}

HRESULT Registrar::Remove(UINT id) const {
  return m_registrar->ResourceUnregister(m_module.c_str(), id, kScriptType);
}

}  // namespace tlk
