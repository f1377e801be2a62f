// The codec in sessions of commands: sessions.txt has what comes of each, shown, recorded,
// answered.

#include <fstream>
#include <iterator>
#include <map>

#include "log/MessageTexts.h"
#include "tests/xml/CodecTest.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/message/MessageSession.h"

namespace tlk {
namespace {

using Text = std::string;

/// What the workbench of `tlk message` has no commands for.
struct Bench {
  const Codec& codec;
  DomScript& script;
  std::unique_ptr<TLK_XMLBuilder> builder = nullptr;
  TLK_XMLParser parser{codec, "<a/>"};
  DomNode root = nullptr;
  Text out{};
};

const std::map<Text, int (*)(Bench&, const Text&)> kCommands = {
    {"construct",
     [](auto& b, auto& text) {
       b.builder = std::make_unique<TLK_XMLBuilder>(b.codec, text);
       return b.builder->HasDocument() ? 0 : -1;
     }},
    {"ensure-data", [](auto& b, auto&) { return b.builder->EnsureDataElement(); }},
    {"written", [](auto& b, auto&) { return b.builder->GetXml(b.out); }},
    {"read", [](auto& b, auto& text) { return b.parser.LoadXml(text); }},
    {"lacks-memory", [](auto& b, auto&) { return int{b.parser.LacksMemory()}; }},
    {"root", [](auto& b, auto&) { return b.parser.GetRootElement(b.root); }},
    {"root-xml", [](auto& b, auto&) { return b.parser.GetNodeXml(b.root, b.out); }},
    {"root-attribute",
     [](auto& b, auto& name) { return b.parser.GetAttribute(b.root, name, b.out); }},
    {"tail", [](auto& b, auto& text) { return b.script.tail = Text(1, '\0') + text, 0; }},
    {"texts", [](auto&, auto& are) { return LeaveOutMessageTexts(are == "left-out"), 0; }},
    {"calls",
     [](auto& b, auto&) {
       b.out.clear();
       for (const Text& call : b.script.calls) b.out += (b.out.empty() ? "" : ", ") + call;
       return 0;
     }},
};

const std::map<Text, DomResult> kOutcomes = {{"fails", kDomFailed},
                                             {"has-nothing", kDomNothing},
                                             {"does-nothing", kDomOk},
                                             {"refuses", kDomBadArgument},
                                             {"lacks-memory", kDomOutOfMemory},
                                             {"cannot-tell", kDomNotImplemented}};

class SessionsTest : public CodecTest {
 protected:
  /// Plays the commands of a session, and returns them with what came of each.
  Text Played(const Text& session) {
    m_script.tail.clear();
    Bench bench{m_codec, m_script};
    Text answer;
    message::MessageSession workbench(m_codec, [&](auto line) { answer = line; });
    Text played;
    for (const Text& line : Split(session, "\n")) {
      if (!line.starts_with("> ")) continue;
      const std::size_t end = line.find(" while ");
      const Text command = line.substr(2, end - 2);
      const Text name = command.substr(0, command.find(' '));
      if (name != "calls") m_script.calls.clear();
      if (end != line.npos) {
        const std::size_t outcome = line.rfind(' ');
        m_script.failing = line.substr(end + 7, outcome - end - 7);
        m_script.failure = kOutcomes.at(line.substr(outcome + 1));
      }
      const auto own = kCommands.find(name);
      const Text shown = ShownBy([&] {
        if (own == kCommands.end()) return workbench.Run(command);
        bench.out = "left alone";
        answer = name + ' ' + std::to_string(own->second(bench, Halves(command, ' ').second));
        if (bench.out != "left alone") answer += ' ' + Quote(bench.out);
      });
      m_script.failing = "none";
      played += line + '\n' + Reported(shown) + Bare(answer) + '\n';
    }
    return played;
  }

 private:
  /// What was shown and what was recorded, in lines of their own.
  Text Reported(const Text& shown) {
    Text lines = shown.empty() ? "" : "shown " + Quote(shown) + '\n';
    for (const LogRecord& record : m_log.records) {
      lines += record.source + ' ' + std::to_string(record.line) + ' ' + Quote(record.text) + '\n';
      EXPECT_TRUE(record.severity == 'E' && record.level == 0 && record.message == 1);
      EXPECT_EQ(record.module, nullptr);
    }
    m_log.records.clear();
    return lines;
  }

  /// An answer with its text as every DOM would write it.
  Text Bare(const Text& answer) {
    std::vector<Text> words;
    Text error;
    const std::size_t at = std::min(answer.find('"'), answer.size());
    if (!SplitWords(answer.substr(at), words, error) || words.empty()) return answer;
    EXPECT_TRUE(!answer.starts_with("xml") || words[0].empty() || m_gate.Pass(words[0]).Passed());
    return answer.substr(0, at) + Quote(WithoutIndentation(words[0]));
  }
};

TEST_F(SessionsTest, GoAsTheyStandThere) {
  std::ifstream file(TLKC2_SESSIONS);
  const Text all(std::istreambuf_iterator<char>(file), {});
  EXPECT_NE(all, "");
  for (const Text& session : Split(all, "\n\n")) {
    Text expected;
    for (const Text& line : Split(session, "\n")) {
      const std::vector<Text> answers = Split(line, " || ");
      if (line.empty() || line.starts_with('#')) continue;
      expected += (kAnswersEveryPath ? answers.back() : answers.front()) + '\n';
    }
    EXPECT_EQ(Played(session), expected);
  }
}

// Whatever is longer than what is kept at hand for it, to the byte.
TEST_F(SessionsTest, TellFailuresWhole) {
  constexpr Failure failure = {"%s", "%S", FailureValues::kTextThenCode, 7};
  for (const std::size_t size : {0U, 1U, 254U, 255U, 256U, 257U, 900U}) {
    const Text text = Text(size, 'x').append(size > 0 ? "z" : "");
    EXPECT_EQ(ShownBy([&] { ReportFailure(m_codec, "", failure, kDomFailed, text); }), text);
    EXPECT_EQ(m_log.records.back().text, text);
  }
}

TEST_F(SessionsTest, StampMoreDigitsWhereTheyAreNeeded) {
  TLK_XMLBuilder builder(m_codec, "<TLK_Message Length='0000000'/>");
  Text xml;
  builder.GetXml(xml);
  for (const std::size_t length : {9'999'999U, 10'000'000U}) {
    m_script.tail = Text(length - xml.size(), 'y');
    EXPECT_EQ(builder.SetLength(), 0);
    EXPECT_EQ(m_script.calls.back(), "set Length=" + std::to_string(length));
  }
}

}  // namespace
}  // namespace tlk
