#include "control/NativeControl.h"

#include "log/QNLogger.h"
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

}  // namespace

iLogger& TraceLog() {
  static const ThreadLayer threadLayer;  // Stands before the log and outlasts it.
  static QNLogger logger = [] {
    RegisterModuleStrings();
    return QNLogger(kLogName, kLogThreshold);
  }();
  return logger;
}

ControlPorts NativePorts(MessageLoop& loop, MessageWindow& window) {
  return {loop.GetSockets(), window, SystemPlatform(), Xml().dom, Xml().gate, TraceLog()};
}

NativeControl::NativeControl(MessageLoop& loop, ITlkcEvents& events)
    : m_window(loop), m_control(NativePorts(loop, m_window), events) {}

}  // namespace tlk
