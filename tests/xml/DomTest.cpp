// The contract of xml/Dom.h, on every DOM.

#include <ctime>
#include <fstream>
#include <limits>
#include <random>
#include <thread>
#include <utility>

#include "platform/AnsiText.h"
#include "tests/xml/CodecTest.h"
#include "tests/xml/MarkedTexts.h"
#include "xml/PathNames.h"

namespace tlk {
namespace {

using Text = std::string;

class DomTest : public CodecTest {
 protected:
  void SetUp() override {
    m_document = nullptr;
    ASSERT_EQ(m_real.NewDocument(m_document), kDomOk);
    ASSERT_EQ(m_document->SelectXPath(), kDomOk);
    EXPECT_EQ(Xml(), "") << "a document has something from one before it";
  }

  Text Xml(DomNode node = nullptr) {
    Text xml;
    EXPECT_EQ(m_document->Xml(node, xml), kDomOk);
    return WithoutIndentation(xml);
  }

  /// What a path selects, serialised; or its result in angle brackets.
  Text Selected(const Text& path, DomNode context = nullptr) {
    DomNode node = context;
    const DomResult result = m_document->SelectNode(context, path, node);
    EXPECT_EQ(node != nullptr, result == kDomOk) << path;
    if (result == kDomNothing) return "<nothing>";
    if (result == kDomNotImplemented) return "<not implemented>";
    return result == kDomOk ? Xml(node) : "<failed>";
  }

  DomNode Node(const Text& path, DomNode context = nullptr) {
    DomNode node = nullptr;
    EXPECT_EQ(m_document->SelectNode(context, path, node), kDomOk) << path;
    return node;
  }

  /// A fresh node out of another document.
  DomNode Given(const Text& path, const Text& text) {
    DomNode node = nullptr;
    bool loaded = false;
    auto& source = m_sources.emplace_back();
    EXPECT_EQ(m_real.NewDocument(source), kDomOk);
    EXPECT_EQ(source->LoadXml(text, loaded), kDomOk);
    EXPECT_EQ(source->SelectNode(nullptr, path, node), kDomOk);
    return node;
  }

  DomResult Append(DomNode parent, DomNode child) { return m_document->AppendChild(parent, child); }

  /// Takes a step: a verb, a path, and what else the verb needs.
  DomResult Take(const Text& step) {
    const auto [verb, behind] = Halves(step, ' ');
    if (verb == "forget") return m_document->ForgetNodes(), m_sources.clear(), kDomOk;
    if (verb == "load") return Load(behind);
    if (verb == "new") return m_document->CreateElement(behind, m_here);
    if (verb == "show") return Show(step == verb ? Xml() : Selected(behind, m_here));
    if (verb == "look") return Show(Selected(behind));
    const auto [path, arguments] = Halves(behind, ' ');
    const DomNode node = Node(path, verb == "place" ? nullptr : m_here);
    if (verb == "place") return m_document->AppendChild(node, m_here);
    if (verb == "at") return m_here = node, kDomOk;
    if (verb == "remove") return m_document->Remove(node, m_here);
    if (verb == "text") return m_document->SetText(node, arguments);
    // A DOM may do without; what it does is what it does with a document of the text.
    if (verb == "read" && m_document->ReadsInPlace()) return m_document->ReadInto(node, arguments);
    if (verb == "read") return Append(node, Given("/*", arguments));
    const auto [word, rest] = Halves(arguments, ' ');
    if (verb == "append") return Append(node, Given(word, rest));
    if (verb == "replace") return m_document->Replace(node, Given(word, rest), m_here);
    if (verb == "set") return m_document->SetAttribute(node, word, rest);
    Text value = "left alone";
    if (verb == "add") return Add(path == "/" ? nullptr : node, word, rest);
    const bool isThere = verb == "tell" ? m_document->Text(node, value) == kDomOk
                                        : m_document->Attribute(node, word, value) == kDomOk;
    EXPECT_TRUE(isThere || value == "left alone");
    return Show(isThere ? value : "<nothing>");
  }

  /// No DOM is shown what the gate refuses; none takes it either.
  DomResult Load(const Text& text) {
    m_sources.clear();
    m_here = nullptr;
    bool loaded = false;
    EXPECT_EQ(m_document->LoadXml(text, loaded), kDomOk);
    EXPECT_EQ(loaded, m_gate.Pass(text).Passed()) << text;
    if (loaded) return kDomOk;
    Text reason;
    EXPECT_EQ(m_document->ParseErrorReason(reason), kDomOk);
    EXPECT_NE(reason, "");
    return kDomNothing;
  }

  DomResult Show(const Text& text) {
    m_shown += " ; " + text;
    return kDomOk;
  }

  /// Adds an element, and attributes that are given as name=value.
  DomResult Add(DomNode parent, const Text& name, const Text& given) {
    const std::vector<Text> pairs = Split(given, " ");
    std::vector<DomAttribute> attributes;
    for (const std::string_view pair : pairs) {
      const std::size_t end = pair.find('=');
      if (end != pair.npos) attributes.push_back({pair.substr(0, end), pair.substr(end + 1)});
    }
    DomNode element = nullptr;
    const DomResult result = m_document->AddElement(parent, name, attributes, element);
    EXPECT_EQ(element != nullptr, result == kDomOk);
    return result;
  }

  /// Plays a row of dom-texts.txt.
  void Play(const Text& line) {
    SCOPED_TRACE(line);
    Text row;
    m_text.Narrow(test::Unescaped(line).text, row);
    const std::vector<Text> parts = Split(row, " =>");
    ASSERT_EQ(parts.size(), 3U);
    const std::vector<Text> answers = Split(parts[2], " ||");
    const Text expected = (kAnswersEveryPath ? answers.back() : answers.front()).substr(1);
    SetUp();
    ASSERT_EQ(Load(parts[0]), kDomOk);
    m_shown.clear();
    if (parts[1].empty()) {
      EXPECT_EQ(Xml(), expected);
      EXPECT_EQ(Load(expected), kDomOk);
      EXPECT_EQ(Xml(), expected) << "and then for good";
      return;
    }
    for (const Text& step : Split(parts[1], " ;")) {
      const bool succeeds = step[1] != '!';
      EXPECT_EQ(Take(step.substr(succeeds ? 1 : 2)) == kDomOk, succeeds) << step;
    }
    EXPECT_EQ(m_shown.empty() ? Xml() : m_shown.substr(3), expected == "=" ? parts[0] : expected);
  }

  std::unique_ptr<DomDocument> m_document;
  std::vector<std::unique_ptr<DomDocument>> m_sources;
  /// Where paths start, and what its owner goes on with when it is taken out.
  DomNode m_here = nullptr;
  Text m_shown;
};

TEST_F(DomTest, KeepsToItsContractStepByStep) {
  std::ifstream file(TLKC2_DOM_TEXTS);
  Text row;
  for (Text line; std::getline(file, line);) {
    if (!line.starts_with(' ') && !row.empty()) Play(std::exchange(row, {}));
    if (!line.starts_with('#'))
      row += row.empty() ? line : line.substr(line.find_first_not_of(' ') - 1);
  }
  Play(row);
}

// A name alone may be looked up by other means than a path is.
TEST_F(DomTest, FindsTheFirstOfAListWhateverWasDoneToIt) {
  std::mt19937 random(7);
  const auto name = [&] { return "n" + std::to_string(random() % 12); };
  for (int list = 0; list < 40; ++list) {
    Text entries;
    for (int i = 0; i < 15; ++i)
      entries += "<" + name() + (random() % 4 == 0 ? " xmlns='n'/>t" : "/><!--c-->");
    ASSERT_EQ(Load("<l><o/>" + entries + "</l>"), kDomOk);
    const DomNode root = Node("/l");
    for (int step = 0; step < 40; ++step) {
      m_here = root;
      // It may take some searches before anything is remembered, and edits may end that.
      for (auto searches = random() % 24; searches > 0; --searches) {
        const Text sought = name();
        ASSERT_EQ(Selected(sought, root), Selected(sought + "[1]", root));
      }
      const Text sought = name();
      const Text place = random() % 3 == 0 ? "node()[7]" : sought;
      if (Selected(place, root) == "<nothing>") continue;
      const Text fresh =
          " /* <" + (random() % 2 == 0 ? sought : name()) + " k='" + std::to_string(step) + "'/>";
      const Text edits[] = {"append ." + fresh, "append o" + fresh, "remove " + place,
                            "replace " + place + fresh, "replace " + place + fresh};
      EXPECT_EQ(Take(edits[random() % 5]), kDomOk);
    }
  }
}

TEST_F(DomTest, RefusesPathsThatAreTooLongAndPlacesElsewhere) {
  EXPECT_EQ(Selected(Text(kMaxPathLength, 'n')), "<nothing>");
  EXPECT_EQ(Selected(Text(kMaxPathLength + 1, 'n')), "<failed>");
  EXPECT_NE(m_document->ReadInto(Given("/a", "<a/>"), "<b/>"), kDomOk);
}

TEST_F(DomTest, ServesSeveralThreads) {
  const auto work = [&](int number) {
    const DomThread thread;
    for (int i = 0; i < 200; ++i) {
      const Text expected = "caf\xE9 " + std::to_string(number * i);
      TLK_XMLParser parser({m_real, m_text, m_gate, m_log}, "<a>" + expected + "</a>");
      Text text;
      parser.GetNode("/a[1]", text, true);
      ASSERT_EQ(text, expected);
    }
  };
  std::vector<std::jthread> threads;
  for (int number = 1; number <= 4; ++number) threads.emplace_back(work, number);
}

// Each of these messages once held the host's thread for seconds: of a thousand prefixes each was
// compared with each, and behind a thousand attributes the root declared a namespace, for which
// each child asked.
TEST_F(DomTest, HostileMessagesTakeTimeInProportion) {
  // The best of a few, for other programs run beside this one.
  const auto timeToRead = [&](const Text& tag, const Text& content, std::size_t times) {
    std::clock_t best = std::numeric_limits<std::clock_t>::max();
    for (int round = 0; round < 5; ++round) {
      TLK_XMLParser parser(m_codec, tag + ">" + content + "</m>");
      Text data;
      const std::clock_t start = std::clock();
      for (std::size_t read = 0; read < times; ++read) parser.GetData(data);
      best = std::min(best, std::clock() - start);
      EXPECT_NE(data, "");
    }
    return best;
  };
  const auto ofPrefixes = [&](std::size_t count) {
    const Text tag = "<m" + test::Times(count, " xmlns:" + Text(50, 'p') + "#='u'");
    return timeToRead(tag, "<Data><a/></Data>", 20'000 / count);
  };
  const Text strangers = test::Times(50'000, "<To/><Data/>") + "<Data xmlns=''/>";
  const auto ofStrangers = [&](std::size_t attributes) {
    return timeToRead("<m" + test::Times(attributes, " a#=''") + " xmlns='u'", strangers, 1);
  };
  EXPECT_LT(ofPrefixes(1000), 4 * ofPrefixes(100));
  EXPECT_LT(ofStrangers(1000), 8 * ofStrangers(1));
}

}  // namespace
}  // namespace tlk
