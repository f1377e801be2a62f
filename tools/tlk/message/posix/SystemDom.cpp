#include "tools/tlk/message/SystemDom.h"

#include "platform/Platform.h"
#include "tools/tlk/posix/CodePage.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk::message {

std::unique_ptr<DomFactory> NewSystemDom() {
  return std::make_unique<PugiDomFactory>(SystemPlatform().text);
}

void AddSystemOptions(CLI::App& command) { AddCodePageOption(command); }

}  // namespace tlk::message
