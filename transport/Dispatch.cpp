#include <new>

#include "control/FiringScope.h"
#include "control/Tlkc.h"
#include "platform/AnsiText.h"
#include "transport/MessageBuffer.h"
#include "transport/MessageTypes.h"
#include "transport/TraceLog.h"
#include "xml/TLK_XMLParser.h"

namespace tlk {

namespace {

// What the server has sent must not be taken for missing.
void EnsureMemory(const TLK_XMLParser& parser) {
  if (parser.LacksMemory()) throw std::bad_alloc();
}

}  // namespace

Codec CTlkc::MessageCodec() const {
  return {m_ports.dom, m_ports.platform.text, m_ports.gate, m_ports.log};
}

int CTlkc::HandleMessage() {
  std::string type;
  std::string data;
  const bool parsed = HandleMessage(type, data) == 0;
  // The message is done with before the host hears of it: while its handler runs, more of the
  // stream may be read.
  ForgetMessage();
  if (!parsed) return -1;
  if (type == kKeepAliveResponse) return 0;
  if (m_firingMessage) {
    LogNormal(trace::kMessageSkipped, type);
    return 0;
  }
  RaiseMessage(type, data);
  return 0;
}

// The answer to a keep-alive is handed out like any other message: whoever waits for a reply takes
// the next message, whatever it is.
int CTlkc::HandleMessage(std::string& type, std::string& data) {
  Codec codec = MessageCodec();
  codec.maxDepth = kMaxMessageDepth;
  TLK_XMLParser parser(codec, m_recvText);
  if (!parser.HasDocument()) {
    EnsureMemory(parser);
    return -1;
  }
  // The document has its own copy, and a large message is large enough once.
  EmptyBuffer(m_recvText);
  if (m_clientId == -1) parser.GetReceiverId(m_clientId);
  parser.GetType(type);
  parser.GetData(data);
  EnsureMemory(parser);
  return 0;
}

void CTlkc::RaiseMessage(const std::string& type, const std::string& data) {
  std::u16string wideType;
  std::u16string wideData;
  m_ports.platform.text.Widen(type, wideType);
  m_ports.platform.text.Widen(data, wideData);
  const FiringScope firing(m_firingMessage);
  LogNormal(trace::kMessageReceived, type);
  m_events.TlkMsgRecieved(wideType, wideData);
}

}  // namespace tlk
