#include "com/EventProxy.h"

#include <array>

#include "platform/windows/Bstr.h"
#include "platform/windows/Variant.h"

namespace tlk {
namespace {

constexpr DISPID kConnStatusChanged = 1;
constexpr DISPID kTlkMsgRecieved = 2;

// A text as an argument. It is not copied: sinks do not free their arguments.
VARIANT Lent(BSTR text) {
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = text;
  return value;
}

}  // namespace

void CProxy_ITlkcEvents::Fire_ConnStatusChanged(TLK_ConnStatusEnum status) {
  VARIANT argument{};
  argument.vt = VT_I4;
  argument.lVal = status;
  Fire(kConnStatusChanged, &argument, 1);
}

void CProxy_ITlkcEvents::Fire_TlkMsgRecieved(BSTR messageType, BSTR message) {
  // Arguments stand in reverse order.
  std::array<VARIANT, 2> arguments{Lent(message), Lent(messageType)};
  Fire(kTlkMsgRecieved, arguments.data(), static_cast<UINT>(arguments.size()));
}

void CProxy_ITlkcEvents::TlkMsgRecieved(std::u16string_view messageType,
                                        std::u16string_view message) {
  const Bstr type(messageType);
  const Bstr data(message);
  Fire_TlkMsgRecieved(type.Get(), data.Get());
}

void CProxy_ITlkcEvents::Fire(DISPID event, VARIANT* arguments, UINT count) {
  const ComPtr<IUnknown> control(&m_controller);
  const std::size_t slots = m_sinks.SlotCount();
  for (std::size_t slot = 0; slot < slots; ++slot) {
    const ComPtr<IUnknown> sink = m_sinks.SinkAt(slot);
    if (!sink) continue;
    DISPPARAMS parameters{arguments, nullptr, count, 0};
    Variant ignored;
    // The outgoing interface is a dispatch interface, so this is the sink's IDispatch.
    static_cast<IDispatch*>(sink.Get())
        ->Invoke(event, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, ignored.Put(),
                 nullptr, nullptr);
  }
}

}  // namespace tlk
