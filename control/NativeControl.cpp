#include "control/NativeControl.h"

#include "log/QNLogger.h"
#include "platform/posix/MessageWindow.h"
#include "platform/posix/PosixStringTable.h"
#include "thread/ThreadLayer.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk {

namespace {

constexpr const char* kLogName = "TLK_Client.log";
constexpr std::int32_t kLogThreshold = 4;

// The control's own string table: both its messages are the text that the control hands over.
void RegisterModuleStrings() {
  auto& strings = SystemStringTable();
  for (const std::uint32_t number : {101U, 102U}) {
    strings.Register("Tlkc2", number, "%s");
  }
}

// What every control of the process builds and reads its documents with.
struct SystemXml {
  PugiDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
};

SystemXml& Xml() {
  static SystemXml xml;
  return xml;
}

QNLogger& ProcessLog() {
  static const ThreadLayer threadLayer;  // Stands before the log and outlasts it.
  static QNLogger logger = [] {
    RegisterModuleStrings();
    return QNLogger(kLogName, kLogThreshold);
  }();
  return logger;
}

}  // namespace

iLogger& TraceLog() { return ProcessLog(); }

void KeepTraceLogIn(const std::string& folder) { ProcessLog().KeepDirectory(folder); }

Codec NativeCodec() { return {Xml().dom, SystemPlatform().text, Xml().gate, TraceLog()}; }

/// What is held while a call or an event is under way.
struct NativeControl::Parts final : ITlkcEvents {
  Parts(MessageLoop& loop, ITlkcEvents& events)
      : host(&events), window(loop), control(Ports(loop, window), *this) {}

  static ControlPorts Ports(MessageLoop& loop, MessageWindow& window) {
    const Codec codec = NativeCodec();
    return {loop.GetSockets(), window, SystemPlatform(), codec.dom, codec.gate, codec.log};
  }

  void ConnStatusChanged(TLK_ConnStatusEnum status) override {
    if (host != nullptr) host->ConnStatusChanged(status);
  }

  void TlkMsgRecieved(std::u16string_view messageType, std::u16string_view message) override {
    if (host != nullptr) host->TlkMsgRecieved(messageType, message);
  }

  ITlkcEvents* host;  // null once the host has let go of the control
  MessageWindow window;
  CTlkc control;
};

NativeControl::NativeControl(MessageLoop& loop, ITlkcEvents& events)
    : m_parts(std::make_shared<Parts>(loop, events)) {
  m_parts->window.SetOwner(m_parts);
}

NativeControl::~NativeControl() {
  m_parts->host = nullptr;
  m_parts->window.SetTarget(nullptr);
}

CTlkc* NativeControl::operator->() { return &m_parts->control; }

CTlkc& NativeControl::operator*() { return m_parts->control; }

}  // namespace tlk
