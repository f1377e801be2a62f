#include "com/ConnectionPointContainer.h"

#include <TlkC2.h>
#include <olectl.h>

#include "com/ComBoundary.h"
#include "com/Enumerator.h"

namespace tlk {
namespace {

struct OwnedPoint {
  explicit OwnedPoint(ConnectionPoint& ofControl) : point(&ofControl) {}

  ComPtr<IConnectionPoint> point;

  void CopyTo(IConnectionPoint*& item) const { item = ComPtr<IConnectionPoint>(point).Detach(); }
};

}  // namespace

ConnectionPointContainer::ConnectionPointContainer(IUnknown& controller)
    : Part(controller),
      m_points{ConnectionPoint(controller, *this, DIID__ITlkcEvents),
               ConnectionPoint(controller, *this, IID_IPropertyNotifySink)} {}

STDMETHODIMP ConnectionPointContainer::EnumConnectionPoints(IEnumConnectionPoints** points) {
  if (points == nullptr) return E_POINTER;
  *points = nullptr;
  return AtComBoundary([&] {
    std::vector<OwnedPoint> all(m_points.begin(), m_points.end());
    return Enumerator<IEnumConnectionPoints, IConnectionPoint*, OwnedPoint>::Make(std::move(all),
                                                                                  points);
  });
}

STDMETHODIMP ConnectionPointContainer::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
  if (point == nullptr) return E_POINTER;
  *point = nullptr;
  for (ConnectionPoint& candidate : m_points) {
    if (candidate.Outgoing() == iid) {
      *point = ComPtr<IConnectionPoint>(&candidate).Detach();
      return S_OK;
    }
  }
  return CONNECT_E_NOCONNECTION;
}

}  // namespace tlk
