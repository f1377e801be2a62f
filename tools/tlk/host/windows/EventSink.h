#pragma once

#include <oaidl.h>

#include "tools/tlk/host/ControlDriver.h"

namespace tlk::host {

/// What a control calls with its events: translates them, narrows their texts and hands them on. It
/// counts its references and ends with the last; `events` outlives the control's calls, not the
/// sink.
class EventSink final : public IDispatch {
 public:
  /// `id` is the events' interface. The caller owns the one reference.
  EventSink(REFIID id, DrivenEvents& events) : m_id(id), m_events(events) {}

  STDMETHODIMP QueryInterface(REFIID id, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
  STDMETHODIMP_(ULONG) Release() override;

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** type) override;
  STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                             DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID reserved, LCID locale, WORD kind, DISPPARAMS* parameters,
                      VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;

 private:
  ~EventSink() = default;

  HRESULT HearStatus(DISPPARAMS& parameters);
  HRESULT HearMessage(DISPPARAMS& parameters);

  const IID m_id;
  DrivenEvents& m_events;
  ULONG m_references = 1;  ///< One thread has them all.
};

}  // namespace tlk::host
