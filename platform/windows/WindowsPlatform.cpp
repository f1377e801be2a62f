#include "platform/Platform.h"
#include "platform/windows/WindowsAnsiText.h"
#include "platform/windows/WindowsFiles.h"
#include "platform/windows/WindowsStringTable.h"
#include "platform/windows/WindowsSurroundings.h"
#include "platform/windows/WindowsSynchronisation.h"

namespace tlk {
namespace {

struct SystemPorts {
  WindowsAnsiText text;
  WindowsStringTable strings;
  WindowsSynchronisation synchronisation;
  WindowsSurroundings surroundings;
  WindowsFiles files;
};

/// Lies in the module's own image from the start and is never taken down: a log writer may still
/// run while other static objects are. The ports keep nothing, so that leaves nothing behind.
union Immortal {
  constexpr Immortal() : ports() {}
  constexpr ~Immortal() {}

  SystemPorts ports;
};

constinit Immortal systemPorts;

constinit const Platform systemPlatform{.text = systemPorts.ports.text,
                                        .strings = systemPorts.ports.strings,
                                        .synchronisation = systemPorts.ports.synchronisation,
                                        .surroundings = systemPorts.ports.surroundings,
                                        .files = systemPorts.ports.files};

}  // namespace

const Platform& SystemPlatform() { return systemPlatform; }

}  // namespace tlk
