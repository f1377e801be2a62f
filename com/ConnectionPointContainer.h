#pragma once

#include <ocidl.h>

#include <array>

#include "com/ConnectionPoint.h"
#include "com/Part.h"

namespace tlk {

/// The control's outgoing interfaces: `_ITlkcEvents` and `IPropertyNotifySink`.
class ConnectionPointContainer final : public Part<IConnectionPointContainer> {
 public:
  explicit ConnectionPointContainer(IUnknown& controller);

  STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** points) override;
  STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

  [[nodiscard]] ConnectionPoint& Events() { return m_points[0]; }
  [[nodiscard]] ConnectionPoint& PropertyChanges() { return m_points[1]; }

 private:
  std::array<ConnectionPoint, 2> m_points;
};

}  // namespace tlk
