#include "tools/tlk/host/windows/EventSubscription.h"

#include "tools/tlk/host/windows/ComFailure.h"
#include "tools/tlk/host/windows/EventSink.h"

namespace tlk::host {

EventSubscription::EventSubscription(const ComPtr<IUnknown>& control, DrivenEvents& events) {
  ComPtr<IProvideClassInfo2> about;
  Check(control.QueryTo(about), "the control's class information");
  IID id{};
  Check(about->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &id), "the control's source of events");
  ComPtr<IConnectionPointContainer> sources;
  Check(control.QueryTo(sources), "the control's connection points");
  Check(sources->FindConnectionPoint(id, m_source.Put()), "the connection point of the events");
  ComPtr<IDispatch> sink;
  sink.Attach(new EventSink(id, events));
  Check(m_source->Advise(sink.Get(), &m_cookie), "subscribing to the events");
}

EventSubscription::~EventSubscription() { m_source->Unadvise(m_cookie); }

}  // namespace tlk::host
