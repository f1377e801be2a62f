#include "tools/tlk/host/windows/DrivenComControl.h"

#include "platform/AnsiText.h"
#include "platform/Platform.h"

namespace tlk::host {
namespace {

Bstr Widen(const std::string& narrow) {
  std::u16string wide;
  SystemPlatform().text.Widen(narrow, wide);
  return Bstr(wide);
}

/// The place for an outgoing text. It begins with a text of its own, by which it is known whether a
/// call wrote another one; a call frees nothing here.
class TextPlace {
 public:
  TextPlace() : m_own(std::u16string_view()), m_text(m_own.Get()) {}
  ~TextPlace() {
    if (IsWritten()) SysFreeString(m_text);
  }
  TextPlace(const TextPlace&) = delete;
  TextPlace& operator=(const TextPlace&) = delete;

  [[nodiscard]] VARIANT Argument() { return TextPlaceArgument(m_text); }

  [[nodiscard]] std::optional<std::string> Written() const {
    if (!IsWritten()) return std::nullopt;
    std::string narrow;
    SystemPlatform().text.Narrow(ToUtf16({m_text, SysStringLen(m_text)}), narrow);
    return narrow;
  }

 private:
  [[nodiscard]] bool IsWritten() const { return m_text != m_own.Get(); }

  const Bstr m_own;
  BSTR m_text;
};

std::optional<std::int32_t> Number(Variant& value) {
  if (value.Type() == VT_EMPTY || FAILED(value.ChangeTo(VT_I4))) return std::nullopt;
  return value.Get().lVal;
}

}  // namespace

DrivenComControl::DrivenComControl(const std::wstring& className, bool visible,
                                   DrivenEvents& events)
    : m_container(className, visible),
      m_members(m_container.Control()),
      m_subscription(m_container.Control(), events) {}

ConnectResult DrivenComControl::Connect(const std::string& server, std::int32_t port) {
  Variant result;
  const Bstr name = Widen(server);
  const HRESULT hr =
      m_members.Call(Member::kConnect, {TextArgument(name), NumberArgument(port)}, result);
  return {hr, Number(result)};
}

std::int32_t DrivenComControl::Disconnect() {
  Variant none;
  return m_members.Call(Member::kDisconnect, {}, none);
}

StatusResult DrivenComControl::ConnectionStatus() {
  Variant result;
  const HRESULT hr = m_members.Call(Member::kConnectionStatus, {}, result);
  return {hr, Number(result).value_or(0)};
}

std::int32_t DrivenComControl::Send(const std::string& type, const std::string& data) {
  Variant none;
  const Bstr message = Widen(type);
  const Bstr body = Widen(data);
  return m_members.Call(Member::kSend, {TextArgument(message), TextArgument(body)}, none);
}

RequestResult DrivenComControl::Request(const std::string& type, const std::string& data,
                                        std::int32_t timeoutMs) {
  Variant none;
  const Bstr message = Widen(type);
  const Bstr body = Widen(data);
  TextPlace replyType;
  TextPlace replyData;
  const HRESULT hr =
      m_members.Call(Member::kRequest,
                     {TextArgument(message), TextArgument(body), replyType.Argument(),
                      replyData.Argument(), NumberArgument(timeoutMs)},
                     none);
  return {hr, replyType.Written(), replyData.Written()};
}

}  // namespace tlk::host
