#include <cstdlib>

#include "platform/Platform.h"
#include "platform/posix/PosixAnsiText.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixStringTable.h"
#include "platform/posix/PosixSurroundings.h"
#include "platform/posix/PosixSynchronisation.h"

namespace tlk {
namespace {

const char* ConfiguredCodePage() {
  const char* name = std::getenv("TLK_CODE_PAGE");
  return name != nullptr && *name != '\0' ? name : PosixAnsiText::kDefaultCodePage;
}

struct SystemPorts {
  PosixAnsiText text{ConfiguredCodePage()};
  PosixStringTable strings;
  PosixSynchronisation synchronisation;
  PosixSurroundings surroundings;
  PosixFiles files;
  Platform platform{.text = text,
                    .strings = strings,
                    .synchronisation = synchronisation,
                    .surroundings = surroundings,
                    .files = files};
};

/// Made once and never destroyed: a log writer may still run while the process's static objects are
/// taken down. The reference keeps the ports reachable to the end.
SystemPorts& Ports() {
  static SystemPorts& ports = *new SystemPorts;
  return ports;
}

}  // namespace

const Platform& SystemPlatform() { return Ports().platform; }

PosixStringTable& SystemStringTable() { return Ports().strings; }

}  // namespace tlk
