// How fast a message goes through the gate.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/Comparison.h"
#include "bench/Messages.h"

namespace tlk::bench {
namespace {

constexpr int kRounds = 9;
constexpr int kPasses = 400;

double MegabytesPerSecond(const XmlGate& gate, const std::string& message) {
  const double each = NanosecondsEach(kPasses, [&](int count) {
    for (; count > 0; --count) Keep(gate.Pass(message));
  });
  return static_cast<double>(message.size()) * 1e3 / each;
}

}  // namespace
}  // namespace tlk::bench

int main() {
  using namespace tlk::bench;
  PinToProcessor(0);
  const MessageCodec messages;
  const std::string message = Message(messages.codec, Payload(100'000 - kEnvelopeSize));
  if (!messages.gate.Pass(message).Passed()) {
    std::fputs("The gate refuses the message.\n", stderr);
    return 1;
  }
  std::vector<double> figures;
  figures.reserve(kRounds);
  for (int round = 0; round < kRounds; ++round)
    figures.push_back(MegabytesPerSecond(messages.gate, message));
  std::ranges::sort(figures);
  ShowFigure("gate", "a message of 100 KB passes", "MB/s", Better::kMore, figures[kRounds / 2],
             700);
}
