#include "tools/tlk/message/SystemDom.h"

#include "platform/Platform.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::message {

std::unique_ptr<DomFactory> NewSystemDom() {
  return std::make_unique<PugiDomFactory>(SystemPlatform().text);
}

}  // namespace tlk::message
