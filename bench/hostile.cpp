// What a message costs that is made to cost as much as it can: the worst of many shapes.

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/Comparison.h"
#include "bench/Messages.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::bench {
namespace {

constexpr std::size_t kSmall = 1'000'000;
constexpr std::size_t kLarge = 8 * kSmall;
constexpr int kAttributes = 1'000;
constexpr int kLevels = 250;

/// A message is what begins it, pieces until it is long enough, and its end.
struct Shape {
  std::string name;
  std::string begin;
  std::string piece;
  std::string end;

  [[nodiscard]] std::string Message(std::size_t size) const {
    std::string text = "<TLK_Message" + begin;
    while (text.size() + end.size() < size) text += piece;
    return text + end + "</TLK_Message>";
  }
};

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string whole;
  for (const std::string_view part : parts) whole.append(part);
  return whole;
}

std::string Times(int count, const std::string& before, const std::string& behind = "") {
  std::string text;
  for (int i = 0; i < count; ++i) text.append(before).append(std::to_string(i)).append(behind);
  return text;
}

std::string Nested(const std::string& tag) {
  std::string text;
  std::string ends;
  for (int i = 0; i < kLevels; ++i) {
    text.append("<").append(tag).append(">");
    ends.append("</").append(tag.substr(0, tag.find(' '))).append(">");
  }
  return text + ends;
}

std::vector<Shape> Shapes() {
  const std::string head = " Type='t'><To Id='7'/>";
  const std::string attributes = Times(kAttributes, " a", "=''");
  const std::string prefixes = Times(kAttributes, " xmlns:p", "='u'");
  const std::string data = "<Data>";
  const std::string end = "</Data>";
  std::vector<Shape> shapes;
  for (const auto& [name, declared] : {std::pair<std::string, std::string>{"", ""},
                                       {", a prefix on the root", " xmlns:p='u'"},
                                       {", a thousand prefixes on the root", prefixes}}) {
    const std::string begin = Joined({declared, head, data});
    for (const std::string piece : {"<a/>", "x<a/>", "<a b=''/>", "<!---->", "<![CDATA[]]>x"})
      shapes.push_back({piece + name, begin, piece, end});
  }
  for (const std::string piece : {"<To/>", "<Data/>", "<a><To/></a>"}) {
    shapes.push_back({piece + ", a default behind a thousand attributes",
                      attributes + " xmlns='u' Type='t'>", piece, "<Data xmlns=''/>"});
  }
  for (const std::string tag : {"a", "a xmlns='u'", "a xmlns:p='u'", "Data xmlns=''"})
    shapes.push_back({"deep " + tag, head + data, Nested(tag), end});
  shapes.push_back({"Data of many attributes and prefixes",
                    Joined({prefixes, head, "<Data", attributes, ">"}), "<a/>", end});
  return shapes;
}

void Read(const Codec& codec, const std::string& message) {
  TLK_XMLParser parser(codec, message);
  if (!parser.HasDocument()) std::abort();
  std::string text;
  std::int32_t receiver = 0;
  Keep(parser.GetType(text));
  Keep(parser.GetReceiverId(receiver));
  Keep(parser.GetData(text));
}

/// Nanoseconds of the processor for each byte, the best of a few: what a message needs, not what
/// else runs.
double Cost(const Codec& codec, const std::string& message) {
  std::clock_t best = std::numeric_limits<std::clock_t>::max();
  for (int round = 0; round < 5; ++round) {
    const std::clock_t start = std::clock();
    Read(codec, message);
    best = std::min(best, std::clock() - start);
  }
  return static_cast<double>(best) * 1e9 / CLOCKS_PER_SEC / static_cast<double>(message.size());
}

double PeakBytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * 1024;
}

/// How far the peak of memory grows for each byte, the message itself counted; in a process of its
/// own, whose peak is due to nothing else.
double Memory(const Codec& codec, const std::string& message) {
  int ends[2] = {};
  if (::pipe(ends) != 0) std::abort();
  const pid_t child = ::fork();
  if (child == 0) {
    const double before = PeakBytes();
    Read(codec, message);
    const double growth = 1 + (PeakBytes() - before) / static_cast<double>(message.size());
    ::_exit(::write(ends[1], &growth, sizeof growth) == sizeof growth ? 0 : 1);
  }
  double growth = 0;
  if (::read(ends[0], &growth, sizeof growth) != sizeof growth) std::abort();
  ::waitpid(child, nullptr, 0);
  ::close(ends[0]);
  ::close(ends[1]);
  return growth;
}

/// The largest figure so far, and whose it is.
struct Worst {
  double figure = 0;
  std::string shape;

  void Take(double another, const std::string& name) {
    if (another <= figure) return;
    figure = another;
    shape = name;
  }

  void Show(const std::string& what, const std::string& unit, double bound) const {
    ShowFigure("hostile", what + ", worst: " + shape, unit, Better::kLess, figure, bound);
  }
};

}  // namespace
}  // namespace tlk::bench

int main() {
  using namespace tlk::bench;
  const MessageCodec messages;
  Worst time;
  Worst memory;
  Worst growth;
  const std::vector<Shape> shapes = Shapes();
  for (const Shape& shape : shapes)
    memory.Take(Memory(messages.codec, shape.Message(kLarge)), shape.name);
  // Fresh pages from the system cost large messages more than small ones, and are not the question.
  ::mallopt(M_MMAP_THRESHOLD, std::numeric_limits<int>::max());
  ::mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  for (const Shape& shape : shapes) {
    const std::string large = shape.Message(kLarge);
    const double small = Cost(messages.codec, shape.Message(kSmall));
    const double most = Cost(messages.codec, large);
    time.Take(most, shape.name);
    growth.Take(1 + std::log(most / small) / std::log(kLarge / kSmall), shape.name);
  }
  time.Show("time for each byte", "ns", 100);
  memory.Show("memory for each byte", "bytes", 32);
  growth.Show("exponent of the time, 1 to 8 MB", "", 1.1);
}
