#include "tools/tlk/wire/SystemDom.h"

#include <objbase.h>

#include "platform/Platform.h"
#include "xml/msxml/MsxmlDom.h"

namespace tlk::wire {
namespace {

/// COM for this thread. Where it is not to be had, making a document fails and says so.
class Apartment {
 public:
  Apartment() : m_entered(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
  ~Apartment() {
    if (m_entered) CoUninitialize();
  }

  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;

 private:
  const bool m_entered;
};

class ApartmentDom : private Apartment, public MsxmlDomFactory {
 public:
  using MsxmlDomFactory::MsxmlDomFactory;
};

}  // namespace

std::unique_ptr<DomFactory> NewSystemDom() {
  return std::make_unique<ApartmentDom>(SystemPlatform().text);
}

}  // namespace tlk::wire
