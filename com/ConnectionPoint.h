#pragma once

#include <ocidl.h>

#include <vector>

#include "com/Part.h"
#include "platform/windows/ComPtr.h"

namespace tlk {

/// One outgoing interface of the control and the sinks that listen to it.
///
/// A sink keeps its slot until it is unadvised. The slot then stays, empty, until another sink is
/// advised. So whoever walks over the slots by their numbers may go on, whatever sinks do
/// meanwhile.
class ConnectionPoint final : public Part<IConnectionPoint> {
 public:
  ConnectionPoint(IUnknown& controller, IConnectionPointContainer& container, REFIID outgoing)
      : Part(controller), m_container(container), m_outgoing(outgoing) {}

  /// Answers for the connection point alone, which is an object of its own; its references are the
  /// control's all the same, so it lives as long.
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;

  STDMETHODIMP GetConnectionInterface(IID* iid) override;
  STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override;
  STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override;
  STDMETHODIMP Unadvise(DWORD cookie) override;
  STDMETHODIMP EnumConnections(IEnumConnections** connections) override;

  [[nodiscard]] REFIID Outgoing() const { return m_outgoing; }

  [[nodiscard]] std::size_t SlotCount() const { return m_slots.size(); }

  /// The sink in a slot, as the outgoing interface; none when the slot is empty.
  [[nodiscard]] ComPtr<IUnknown> SinkAt(std::size_t slot) const { return m_slots[slot].sink; }

 private:
  struct Slot {
    DWORD cookie = 0;
    ComPtr<IUnknown> sink;

    void CopyTo(CONNECTDATA& data) const;
  };

  DWORD Keep(ComPtr<IUnknown> sink);

  IConnectionPointContainer& m_container;
  const IID m_outgoing;
  DWORD m_lastCookie = 0;
  std::vector<Slot> m_slots;
};

}  // namespace tlk
