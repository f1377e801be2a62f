#include "com/TlkcObject.h"

#include "com/Automation.h"
#include "com/ClassInfoProvider.h"
#include "com/ComBoundary.h"
#include "com/ConnectionPointContainer.h"
#include "com/DataObject.h"
#include "com/Embedding.h"
#include "com/EventProxy.h"
#include "com/InPlaceActivation.h"
#include "com/InPlaceObject.h"
#include "com/Module.h"
#include "com/OleControl.h"
#include "com/OleObject.h"
#include "com/Persistence.h"
#include "com/PropertyPages.h"
#include "com/QuickActivation.h"
#include "com/ViewObject.h"
#include "platform/Platform.h"
#include "platform/windows/WindowsControlWindow.h"
#include "platform/windows/WindowsSockets.h"

namespace tlk {
namespace {

/// The control as hosts know it: the core, its window and sockets, and the interfaces as its parts.
///
/// This unknown is the object's own. It controls the parts unless the object is a part itself, of
/// an outer object.
class TlkcObject final : public IUnknown {
 public:
  explicit TlkcObject(IUnknown* outer);

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
  STDMETHODIMP_(ULONG) Release() override;

 private:
  ~TlkcObject() = default;

  [[nodiscard]] IUnknown* Find(REFIID iid);

  // The order matters: each member may use those above it to the end.
  const ModuleHold m_hold;
  std::atomic<ULONG> m_references{1};
  IUnknown& m_controller;

  ConnectionPointContainer m_connectionPoints;
  CProxy_ITlkcEvents m_events;
  WindowsSockets m_sockets;
  WindowsControlWindow m_windowPort;
  CTlkc m_control;
  Embedding m_embedding;
  InPlaceActivation m_activation;

  Automation m_automation;
  OleObject m_oleObject;
  InPlaceObject m_inPlaceObject;
  InPlaceActiveObject m_activeObject;
  OleControl m_oleControl;
  ViewObject m_viewObject;
  StreamPersistence m_streamPersistence;
  StoragePersistence m_storagePersistence;
  DataObject m_dataObject;
  QuickActivation m_quickActivation;
  PropertyPages m_propertyPages;
  ClassInfoProvider m_classInfo;
};

ControlPorts PortsOf(WindowsSockets& sockets, WindowsControlWindow& window) {
  Module& module = Module::Get();
  return {sockets, window, SystemPlatform(), module.Dom(), module.Gate(), module.TraceLog()};
}

TlkcObject::TlkcObject(IUnknown* outer)
    : m_controller(outer != nullptr ? *outer : *this),
      m_connectionPoints(m_controller),
      m_events(m_controller, m_connectionPoints.Events()),
      m_windowPort(m_sockets),
      m_control(PortsOf(m_sockets, m_windowPort), m_events),
      m_embedding(m_controller),
      m_activation(m_controller, m_embedding, m_windowPort),
      m_automation(m_controller, m_control),
      m_oleObject(m_controller, m_embedding, m_activation),
      m_inPlaceObject(m_controller, m_activation),
      m_activeObject(m_controller, m_activation),
      m_oleControl(m_controller),
      m_viewObject(m_controller, m_embedding),
      m_streamPersistence(m_controller, m_embedding),
      m_storagePersistence(m_controller, m_embedding, m_streamPersistence),
      m_dataObject(m_controller, m_embedding),
      m_quickActivation(m_controller, m_oleObject, m_viewObject, m_connectionPoints),
      m_propertyPages(m_controller),
      m_classInfo(m_controller) {}

STDMETHODIMP TlkcObject::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  IUnknown* const found = iid == IID_IUnknown ? static_cast<IUnknown*>(this) : Find(iid);
  *object = found;
  if (found == nullptr) return E_NOINTERFACE;
  found->AddRef();
  return S_OK;
}

IUnknown* TlkcObject::Find(REFIID iid) {
  const struct {
    const IID& id;
    IUnknown& part;
  } interfaces[] = {
      {IID_IDispatch, m_automation},
      {IID_ITlkc, m_automation},
      {IID_IOleObject, m_oleObject},
      {IID_IOleWindow, m_inPlaceObject},
      {IID_IOleInPlaceObject, m_inPlaceObject},
      {IID_IOleInPlaceObjectWindowless, m_inPlaceObject},
      {IID_IOleInPlaceActiveObject, m_activeObject},
      {IID_IOleControl, m_oleControl},
      {IID_IViewObject, m_viewObject},
      {IID_IViewObject2, m_viewObject},
      {IID_IViewObjectEx, m_viewObject},
      {IID_IPersist, m_streamPersistence},
      {IID_IPersistStreamInit, m_streamPersistence},
      {IID_IPersistStorage, m_storagePersistence},
      {IID_IDataObject, m_dataObject},
      {IID_IQuickActivate, m_quickActivation},
      {IID_ISpecifyPropertyPages, m_propertyPages},
      {IID_IProvideClassInfo, m_classInfo},
      {IID_IProvideClassInfo2, m_classInfo},
      {IID_IConnectionPointContainer, m_connectionPoints},
  };
  for (const auto& entry : interfaces) {
    if (entry.id == iid) return &entry.part;
  }
  return nullptr;
}

STDMETHODIMP_(ULONG) TlkcObject::Release() {
  const ULONG left = --m_references;
  if (left == 0) {
    // What the members release while they are destroyed may take a reference to the control and
    // give it back: that must not delete it once more.
    m_references = 1;
    delete this;
  }
  return left;
}

}  // namespace

HRESULT CreateTlkcObject(IUnknown* outer, REFIID iid, void** object) noexcept {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (outer != nullptr && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
  return AtComBoundary([&] {
    ComPtr<IUnknown> made;
    made.Attach(new TlkcObject(outer));
    return made->QueryInterface(iid, object);
  });
}

}  // namespace tlk
