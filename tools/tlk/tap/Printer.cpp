#include "tools/tlk/tap/Printer.h"

#include <asio/post.hpp>
#include <utility>

#include "tools/tlk/OwnOutput.h"

namespace tlk::tap {
namespace {

std::string SayLeftOut(std::uint64_t count) {
  return "... " + std::to_string(count) + " not shown: the output did not take them in time\n";
}

}  // namespace

void Printer::Print(std::string entry) {
  if (m_waiting > kMostWaiting) {
    ++m_leftOut;
    return;
  }
  if (m_leftOut != 0) entry.insert(0, SayLeftOut(std::exchange(m_leftOut, 0)));
  Put(std::move(entry));
}

void Printer::Put(std::string text) {
  m_waiting += text.size();
  asio::post(m_thread, [this, text = std::move(text)] {
    OwnOutput::Get().Text(text);
    m_waiting -= text.size();
  });
}

void Printer::Finish() {
  if (m_leftOut != 0) Put(SayLeftOut(m_leftOut));
  m_thread.join();
}

}  // namespace tlk::tap
