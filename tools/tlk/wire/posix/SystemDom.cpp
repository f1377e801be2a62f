#include "tools/tlk/wire/SystemDom.h"

#include "platform/Platform.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::wire {

std::unique_ptr<DomFactory> NewSystemDom() {
  return std::make_unique<PugiDomFactory>(SystemPlatform().text);
}

}  // namespace tlk::wire
