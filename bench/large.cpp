// One large message made of small elements, from its first byte to the event.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <pugixml.hpp>
#include <string>

#include "bench/BulkSender.h"
#include "bench/Comparison.h"
#include "bench/ConnectedControl.h"
#include "bench/StreamMessages.h"
#include "log/iLogger.h"

namespace tlk::bench {
namespace {

constexpr std::size_t kSize = 9'900'000;

/// Receives one message.
void ReceiveOne(MessageLoop& loop, ConnectedControl& end, BulkSender& sender,
                const std::string& message) {
  const int last = end.host.messages + 1;
  sender.Start(end.server.Get(), message, 1);
  while (end.host.messages < last) loop.DispatchOnce(-1);
}

struct StringWriter : pugi::xml_writer {
  void write(const void* data, std::size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }
  std::string text;
};

void LoadAndPrint(const std::string& message) {
  pugi::xml_document document;
  Check(document.load_buffer(message.data(), message.size()), "load_buffer");
  StringWriter writer;
  document.print(writer, "", pugi::format_raw);
  Keep(writer.text.size());
}

template <typename Work>
double Milliseconds(Work work) {
  const double start = Seconds();
  work();
  return (Seconds() - start) * 1e3;
}

long PeakBytes() {
  rusage usage{};
  Check(::getrusage(RUSAGE_SELF, &usage) == 0, "getrusage");
  return usage.ru_maxrss * 1024;
}

/// How much the peak of the process grows over what it is with the sent message alone, in sizes of
/// the message.
double PeakGrowth() {
  TraceLog().SetLevel(-1);
  const std::string small = MessageOfSize(200);
  const std::string message = ListMessage(kSize);
  MessageLoop loop;
  ConnectedControl end(loop);
  BulkSender sender;
  ReceiveOne(loop, end, sender, small);
  const long before = PeakBytes();
  ReceiveOne(loop, end, sender, message);
  return static_cast<double>(PeakBytes() - before) / static_cast<double>(message.size());
}

/// The same in a process of its own, whose peak is due to nothing else.
double PeakGrowthInChild() {
  int ends[2];
  Check(::pipe(ends) == 0, "pipe");
  const OwnedDescriptor read(ends[0]);
  const OwnedDescriptor write(ends[1]);
  const pid_t child = ::fork();
  Check(child >= 0, "fork");
  double growth = 0;
  if (child == 0) {
    growth = PeakGrowth();
    ::_exit(::write(write.Get(), &growth, sizeof growth) == sizeof growth ? 0 : 1);
  }
  Check(::read(read.Get(), &growth, sizeof growth) == sizeof growth, "the child fails");
  ::waitpid(child, nullptr, 0);
  return growth;
}

void CompareTimes() {
  PinToProcessor(0);
  TraceLog().SetLevel(-1);
  const std::string message = ListMessage(kSize);
  MessageLoop loop;
  ConnectedControl end(loop);
  BulkSender sender;
  Compare({.subject = "large",
           .what = "9.9 MB of small elements",
           .unit = "ms",
           .better = Better::kLess,
           .ours = [&] { return Milliseconds([&] { ReceiveOne(loop, end, sender, message); }); },
           .limits = {{{"pugixml, load and print",
                        [&] { return Milliseconds([&] { LoadAndPrint(message); }); }},
                       2}},
           .peers = {}});
}

}  // namespace
}  // namespace tlk::bench

int main() {
  // First, because a process with threads is not to be forked.
  const double growth = tlk::bench::PeakGrowthInChild();
  tlk::bench::CompareTimes();
  tlk::bench::ShowFigure("large", "growth of the peak of memory", "messages",
                         tlk::bench::Better::kLess, growth, 8);
}
