// The builder's operations, with whatever a host may hand them. Each line of an input is one: a
// letter, then its arguments, with a tab between two. Backslash and circumflex stand for line break
// and tab in an argument, which can hold neither otherwise.

#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <pugixml.hpp>
#include <string>

#include "fuzz/Fuzzing.h"
#include "fuzz/ReadBack.h"
#include "platform/Platform.h"
#include "tests/scripted/RecordingLogger.h"
#include "transport/Framing.h"
#include "xml/TLK_XMLBuilder.h"
#include "xml/pugixml/PugiDom.h"

namespace {

std::size_t g_held = 0;
std::size_t g_peak = 0;

void* Take(std::size_t size) {
  void* const memory = std::malloc(size);
  g_held += malloc_usable_size(memory);
  g_peak = std::max(g_peak, g_held);
  return memory;
}

void Leave(void* memory) {
  g_held -= malloc_usable_size(memory);
  std::free(memory);
}

}  // namespace

namespace tlk::fuzz {
namespace {

using Arguments = std::array<std::string, 3>;

Arguments ArgumentsOf(std::string line) {
  std::replace(line.begin(), line.end(), '\\', '\n');
  Arguments arguments;
  for (std::string& argument : arguments) {
    const std::size_t end = std::min(line.find('\t'), line.size());
    argument = line.substr(0, end);
    std::replace(argument.begin(), argument.end(), '^', '\t');
    line.erase(0, end + 1);
  }
  return arguments;
}

// A list, of which only what is in it is given; or a whole document, behind "!".
std::string List(const std::string& name, const std::string& given) {
  if (given.starts_with('!')) return given.substr(1);
  return std::string("<").append(name).append(">") + given + "</" + name + ">";
}
std::string Attributes(const std::string& given) { return List("Attribute_List", given); }
std::string Paths(const std::string& given) { return List("Path_List", given); }

struct Operation {
  char letter;  ///< A capital for those that take paths.
  int (*run)(TLK_XMLBuilder& builder, const Arguments& a);
};

constexpr Operation kOperations[] = {
    {'l', [](auto& b, auto& a) { return b.LoadXml(a[0]); }},
    {'c', [](auto& b, auto& a) { return b.CreateMessage(a[0], 5, 0, 3, a[1]); }},
    {'e', [](auto& b, auto&) { return b.EnsureDataElement(); }},
    {'d', [](auto& b, auto& a) { return b.AppendData(a[0]); }},
    {'s', [](auto& b, auto& a) { return b.AddStatus(a[0], a[1]); }},
    {'o', [](auto& b, auto& a) { return b.AddConferenceList(a[0], -1, a[1], 65); }},
    {'p', [](auto& b, auto& a) { return b.AddParticipantList(a[0], 1, 0, -1, a[1]); }},
    {'a', [](auto& b, auto& a) { return b.AddAttributes(Attributes(a[0])); }},
    {'r', [](auto& b, auto& a) { return b.DeleteAttributes(Attributes(a[0])); }},
    {'u', [](auto& b, auto& a) { return b.UpdateAttributes(Attributes(a[0])); }},
    {'A', [](auto& b, auto& a) { return b.AddAttributesAtPaths(Attributes(a[0]), Paths(a[1])); }},
    {'R', [](auto& b, auto& a) { return b.DeleteAttributesAtPaths(Paths(a[0])); }},
    {'U',
     [](auto& b, auto& a) { return b.UpdateAttributesAtPaths(Attributes(a[0]), Paths(a[1])); }},
    {'S', [](auto& b, auto& a) { return b.SetNodeAttribute(a[0], a[1], a[2]); }},
};

std::string XmlOf(TLK_XMLBuilder& builder) {
  std::string xml;
  builder.GetXml(xml);
  return xml;
}

struct Workbench {
  RecordingLogger log;
  PugiDomFactory dom{SystemPlatform().text};
  XmlGate gate{SystemPlatform().text};
  TLK_XMLBuilder builder{{dom, SystemPlatform().text, gate, log}};

  /// What fails changes nothing, except that edits in front of an empty path stay.
  void Run(char letter, const Arguments& arguments) {
    constexpr std::int32_t kEmptyPathLine = 783;
    const auto* const operation = std::find_if(std::begin(kOperations), std::end(kOperations),
                                               [=](auto& each) { return each.letter == letter; });
    if (operation == std::end(kOperations)) return;
    const std::string before = XmlOf(builder);
    log.records.clear();
    const int result = operation->run(builder, arguments);
    Check(result == 0 || result == -1, "a result is 0 or -1");
    const bool stopped = !log.records.empty() && log.records.back().line == kEmptyPathLine;
    Check(result == 0 || stopped || XmlOf(builder) == before, "a failure changes nothing");
  }

  void CheckResult() {
    if (builder.SetLength() != 0) return;  // there is no root
    // What was loaded may have had a stamp of another width when the first one was measured.
    builder.SetLength();
    const std::string xml = XmlOf(builder);
    CheckReadsBack(dom, gate, xml);
    const bool isStamped = xml.starts_with("<TLK_Message Length=\"");
    Check(!isStamped || GetMessageLength(xml) == static_cast<int>(xml.size()),
          "the stamp is right");
  }
};

void RunAll(const std::string& input) {
  Workbench workbench;
  for (std::size_t at = 0, end = 0; at < input.size(); at = end + 1) {
    end = std::min(input.find('\n', at), input.size());
    const std::string line = input.substr(at, end - at);
    const bool takesPaths = !line.empty() && line[0] >= 'A' && line[0] <= 'Z';
    if (line.empty() || (takesPaths && !IsAffordable(line, input))) continue;
    workbench.Run(line[0], ArgumentsOf(line.substr(1)));
  }
  workbench.CheckResult();
}

/// Memory grows with the input; and when it declares namespaces, with its square at worst, because
/// each element that is moved takes along what is declared around it.
std::size_t MemoryFor(const std::string& input) {
  constexpr std::size_t kAtRest = 524'288;
  constexpr std::size_t kPerByte = 256;
  const auto tags = static_cast<std::size_t>(std::count(input.begin(), input.end(), '<'));
  const bool declares = input.find("xmlns") != std::string::npos;
  return kAtRest + kPerByte * input.size() * (declares ? 1 + tags : 1);
}

}  // namespace
}  // namespace tlk::fuzz

void* operator new(std::size_t size) { return Take(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void operator delete(void* memory) noexcept { Leave(memory); }
void operator delete(void* memory, std::size_t) noexcept { Leave(memory); }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  const std::string input = Input(data, size).Rest();
  pugi::set_memory_management_functions(Take, Leave);
  (void)tlk::SystemPlatform();  // stays
  const std::size_t before = g_peak = g_held;
  RunAll(input);
  Check(g_peak - before <= MemoryFor(input), "memory stays within what the input tells");
  Check(g_held == before, "all memory is given back");
  return 0;
}
