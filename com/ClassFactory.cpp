#include "com/ClassFactory.h"

#include <atomic>

#include "com/ComBoundary.h"
#include "com/Module.h"
#include "com/TlkcObject.h"
#include "platform/windows/ComPtr.h"

namespace tlk {
namespace {

class ClassFactory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<IClassFactory*>(this);
    return S_OK;
  }

  ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }

  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    return CreateTlkcObject(outer, iid, object);
  }

  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    if (lock != FALSE) {
      Module::Get().Hold();
    } else {
      Module::Get().LetGo();
    }
    return S_OK;
  }

 private:
  virtual ~ClassFactory() = default;

  const ModuleHold m_module;
  std::atomic<ULONG> m_references{0};
};

}  // namespace

HRESULT CreateClassFactory(REFIID iid, void** object) noexcept {
  return AtComBoundary([&] {
    const ComPtr<IClassFactory> factory(new ClassFactory);
    return factory->QueryInterface(iid, object);
  });
}

}  // namespace tlk
