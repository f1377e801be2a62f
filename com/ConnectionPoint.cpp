#include "com/ConnectionPoint.h"

#include <olectl.h>

#include <algorithm>

#include "com/ComBoundary.h"
#include "com/Enumerator.h"

namespace tlk {

STDMETHODIMP ConnectionPoint::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IID_IUnknown && iid != IID_IConnectionPoint) return E_NOINTERFACE;
  *object = static_cast<IConnectionPoint*>(this);
  AddRef();
  return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionInterface(IID* iid) {
  if (iid == nullptr) return E_POINTER;
  *iid = m_outgoing;
  return S_OK;
}

STDMETHODIMP ConnectionPoint::GetConnectionPointContainer(IConnectionPointContainer** container) {
  if (container == nullptr) return E_POINTER;
  return m_container.QueryInterface(IID_IConnectionPointContainer,
                                    reinterpret_cast<void**>(container));
}

STDMETHODIMP ConnectionPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (sink == nullptr || cookie == nullptr) return E_POINTER;
  *cookie = 0;
  ComPtr<IUnknown> listener;
  if (FAILED(sink->QueryInterface(m_outgoing, listener.PutVoid()))) return CONNECT_E_CANNOTCONNECT;
  return AtComBoundary([&] {
    *cookie = Keep(std::move(listener));
    return S_OK;
  });
}

DWORD ConnectionPoint::Keep(ComPtr<IUnknown> sink) {
  auto slot = std::find_if(m_slots.begin(), m_slots.end(), [](const Slot& s) { return !s.sink; });
  if (slot == m_slots.end()) slot = m_slots.emplace(slot);
  slot->sink = std::move(sink);
  slot->cookie = ++m_lastCookie;
  return slot->cookie;
}

STDMETHODIMP ConnectionPoint::Unadvise(DWORD cookie) {
  const auto slot = std::find_if(m_slots.begin(), m_slots.end(),
                                 [cookie](const Slot& s) { return s.sink && s.cookie == cookie; });
  if (slot == m_slots.end()) return CONNECT_E_NOCONNECTION;
  // The slot is empty before the sink is released, which may call back here.
  const ComPtr<IUnknown> released = std::exchange(slot->sink, nullptr);
  return S_OK;
}

STDMETHODIMP ConnectionPoint::EnumConnections(IEnumConnections** connections) {
  if (connections == nullptr) return E_POINTER;
  *connections = nullptr;
  return AtComBoundary([&] {
    std::vector<Slot> taken;
    std::copy_if(m_slots.begin(), m_slots.end(), std::back_inserter(taken),
                 [](const Slot& slot) { return static_cast<bool>(slot.sink); });
    return Enumerator<IEnumConnections, CONNECTDATA, Slot>::Make(std::move(taken), connections);
  });
}

void ConnectionPoint::Slot::CopyTo(CONNECTDATA& data) const {
  data.pUnk = ComPtr<IUnknown>(sink).Detach();
  data.dwCookie = cookie;
}

}  // namespace tlk
