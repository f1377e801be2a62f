#include "tools/tlk/net/AddressUse.h"

namespace tlk::net {
namespace {

/// The option as Asio takes one.
class ExclusiveAddressUse {
 public:
  template <typename Protocol>
  [[nodiscard]] int level(const Protocol&) const {
    return SOL_SOCKET;
  }
  template <typename Protocol>
  [[nodiscard]] int name(const Protocol&) const {
    return SO_EXCLUSIVEADDRUSE;
  }
  template <typename Protocol>
  [[nodiscard]] const void* data(const Protocol&) const {
    return &m_isOn;
  }
  template <typename Protocol>
  [[nodiscard]] std::size_t size(const Protocol&) const {
    return sizeof m_isOn;
  }

 private:
  const BOOL m_isOn = TRUE;
};

}  // namespace

// To reuse an address means here to share it with whoever listens there, whether they like it or
// not.
asio::error_code TakeAddressAlone(asio::ip::tcp::acceptor& acceptor) {
  asio::error_code error;
  acceptor.set_option(ExclusiveAddressUse(), error);
  return error;
}

}  // namespace tlk::net
