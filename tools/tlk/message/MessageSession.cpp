#include "tools/tlk/message/MessageSession.h"

#include <array>
#include <cstdio>
#include <limits>
#include <utility>
#include <vector>

#include "tools/tlk/Words.h"

namespace tlk::message {
namespace {

constexpr WordForm Text(std::string_view name) { return {name, WordKind::kText}; }
constexpr WordForm Document(std::string_view name) { return {name, WordKind::kDocument}; }
constexpr WordForm Number(std::string_view name) { return {name, WordKind::kNumber}; }
constexpr WordForm Unsigned(std::string_view name) {
  return {name, WordKind::kNumber, 0, std::numeric_limits<std::uint32_t>::max()};
}

constexpr WordForm kText = Document("TEXT");
constexpr WordForm kPaths = Document("PATHS");
constexpr WordForm kPath = Text("XPATH");
constexpr WordForm kName = Text("NAME");
constexpr WordForm kForm{.name = "FORM", .kind = WordKind::kChoice, .choices = {"text", "xml"}};

// Given to an operation as its output. No operation writes it, so when it is still there
// afterwards the operation has written nothing, and nothing is shown.
constexpr std::string_view kUnwritten("\0", 1);

std::string Shown(int result) { return std::to_string(result); }

std::string Shown(int result, std::string_view text) {
  return text == kUnwritten ? Shown(result) : Shown(result) + ' ' + Quote(text);
}

}  // namespace

/// A command, how it is run, and whether it needs a parser.
struct MessageSession::Action {
  CommandForm form;
  std::string (MessageSession::*run)(const Arguments& arguments);
  bool needsParser = false;
};

/// All of them.
struct MessageSession::Commands {
  using Self = MessageSession;
  using Builder = TLK_XMLBuilder;
  static constexpr std::array kAll{
      Action{{"create",
              3,
              {Text("TYPE"), Number("FROM"), Number("TO"), Number("STATUS"), Text("DESCRIPTION")},
              "a new message, with a status reply in it"},
             &Self::Create},
      Action{{"load", 1, {kText}, "the message that the text holds"},
             &Self::Edit<&Builder::LoadXml>},
      Action{{"append", 1, {kText}, "add one XML element to its Data"},
             &Self::Edit<&Builder::AppendData>},
      Action{{"status", 2, {Text("VALUE"), Text("DESCRIPTION")}, "add a status reply"},
             &Self::EditByTwo<&Builder::AddStatus>},
      Action{{"conference",
              4,
              {kName, Number("COUNT"), Text("CREATOR"), Unsigned("ELAPSED")},
              "add to its list of conferences"},
             &Self::Conference},
      Action{{"participant",
              5,
              {kName, Number("LEADER"), Number("CREATOR"), Number("INDEX"), Text("EXTRA")},
              "add to its list of participants; EXTRA is unused"},
             &Self::Participant},
      Action{{"add-attributes", 1, {kText}, "add those of the text to its attribute list"},
             &Self::Edit<&Builder::AddAttributes>},
      Action{{"delete-attributes", 1, {kText}, "delete from it those that the text names"},
             &Self::Edit<&Builder::DeleteAttributes>},
      Action{{"update-attributes", 1, {kText}, "change those that the text names"},
             &Self::Edit<&Builder::UpdateAttributes>},
      Action{{"add-attributes-at-paths",
              2,
              {kText, kPaths},
              "add them at the places that a path list names"},
             &Self::EditByTwo<&Builder::AddAttributesAtPaths>},
      Action{{"delete-attributes-at-paths", 1, {kPaths}, "delete what is there"},
             &Self::Edit<&Builder::DeleteAttributesAtPaths>},
      Action{{"update-attributes-at-paths", 2, {kText, kPaths}, "change those there"},
             &Self::EditByTwo<&Builder::UpdateAttributesAtPaths>},
      Action{{"set-length", 0, {}, "measure it and stamp its length"}, &Self::SetLength},
      Action{{"xml", 0, {}, "show it"}, &Self::Xml},
      Action{{"node-text", 1, {kPath}, "the text of a node"}, &Self::NodeText},
      Action{{"set-node-attribute", 3, {kPath, kName, Text("VALUE")}, "set an XML attribute"},
             &Self::SetNodeAttribute},
      Action{{"parse", 1, {kText}, "take the message to read; tells loaded or empty"},
             &Self::Parse},
      Action{{"type", 0, {}, "of the message to read, its Type"}, &Self::Type, true},
      Action{{"receiver", 0, {}, "the Id of its To"}, &Self::Receiver, true},
      Action{{"data", 0, {}, "its Data"}, &Self::Data, true},
      Action{{"node",
              2,
              {kPath, kForm},
              "FORM text: the text of a node; xml: all of it;\n"
              "XPATH starts at the root"},
             &Self::Node,
             true},
      Action{{"attribute", 2, {kPath, kName}, "an XML attribute; XPATH starts at the document"},
             &Self::Attribute,
             true},
      Action{kHelpForm, &Self::ShowHelp},
      Action{kShortHelpForm, &Self::ShowHelp},
      Action{{"quit", 0, {}, "end, as the end of the input does"}, &Self::Quit},
      Action{{"exit", 0, {}, "the same"}, &Self::Quit},
  };
};

std::vector<CommandForm> MessageSession::AllForms() { return FormsOf(Commands::kAll); }

MessageSession::MessageSession(const Codec& codec, Print print)
    : CommandSession(std::move(print), AllForms()), m_codec(codec), m_builder(codec) {}

void MessageSession::RunLine(std::string_view line) {
  std::vector<std::string> words;
  std::string error;
  if (!SplitCommand(line, words, error)) return Fail(error);
  if (words.empty()) return;

  const auto command = MatchCommand(Commands::kAll, words);
  if (!command.error.empty()) return Fail(command.error);
  if (command.entry->needsParser && m_parser == nullptr) {
    return Fail("nothing was parsed yet: parse TEXT comes first");
  }
  const std::string outcome = (this->*command.entry->run)(command.arguments);
  std::fflush(stdout);  // What the codec printed is seen before the result.
  if (!outcome.empty()) PrintLine(std::string(command.entry->form.name) + ' ' + outcome);
}

std::string MessageSession::Create(const Arguments& arguments) {
  const std::string& type = arguments[0].text;
  const std::int32_t from = arguments[1].Signed();
  const std::int32_t to = arguments[2].Signed();
  if (arguments.size() == 3) return Shown(m_builder.CreateMessage(type, from, to));
  return Shown(m_builder.CreateMessage(type, from, to, arguments[3].Signed(), arguments[4].text));
}

template <int (TLK_XMLBuilder::*operation)(std::string_view)>
std::string MessageSession::Edit(const Arguments& arguments) {
  return Shown((m_builder.*operation)(arguments[0].text));
}

template <int (TLK_XMLBuilder::*operation)(std::string_view, std::string_view)>
std::string MessageSession::EditByTwo(const Arguments& arguments) {
  return Shown((m_builder.*operation)(arguments[0].text, arguments[1].text));
}

std::string MessageSession::Conference(const Arguments& arguments) {
  return Shown(m_builder.AddConferenceList(arguments[0].text, arguments[1].Signed(),
                                           arguments[2].text, arguments[3].Unsigned()));
}

std::string MessageSession::Participant(const Arguments& arguments) {
  return Shown(m_builder.AddParticipantList(arguments[0].text, arguments[1].Signed(),
                                            arguments[2].Signed(), arguments[3].Signed(),
                                            arguments[4].text));
}

std::string MessageSession::SetLength(const Arguments& /*arguments*/) {
  return Shown(m_builder.SetLength());
}

std::string MessageSession::Xml(const Arguments& /*arguments*/) {
  std::string xml(kUnwritten);
  const int result = m_builder.GetXml(xml);
  return Shown(result, xml);
}

std::string MessageSession::NodeText(const Arguments& arguments) {
  std::string text(kUnwritten);
  const int result = m_builder.GetNodeText(arguments[0].text, text);
  return Shown(result, text);
}

std::string MessageSession::SetNodeAttribute(const Arguments& arguments) {
  return Shown(m_builder.SetNodeAttribute(arguments[0].text, arguments[1].text, arguments[2].text));
}

std::string MessageSession::Parse(const Arguments& arguments) {
  m_parser = std::make_unique<TLK_XMLParser>(m_codec, arguments[0].text);
  return m_parser->HasDocument() ? "loaded" : "empty";
}

std::string MessageSession::Type(const Arguments& /*arguments*/) {
  std::string type(kUnwritten);
  const int result = m_parser->GetType(type);
  return Shown(result, type);
}

std::string MessageSession::Receiver(const Arguments& /*arguments*/) {
  std::int32_t id = 0;
  const int result = m_parser->GetReceiverId(id);
  return result == 0 ? Shown(result) + ' ' + std::to_string(id) : Shown(result);
}

std::string MessageSession::Data(const Arguments& /*arguments*/) {
  std::string data(kUnwritten);
  const int result = m_parser->GetData(data);
  return Shown(result, data);
}

std::string MessageSession::Node(const Arguments& arguments) {
  std::string node(kUnwritten);
  const bool textOnly = arguments[1].number == 0;
  const int result = m_parser->GetNode(arguments[0].text, node, textOnly);
  return Shown(result, node);
}

std::string MessageSession::Attribute(const Arguments& arguments) {
  std::string value(kUnwritten);
  const int result = m_parser->GetNodeAttribute(arguments[0].text, arguments[1].text, value);
  return Shown(result, value);
}

std::string MessageSession::ShowHelp(const Arguments& arguments) {
  Help(arguments);
  return {};
}

std::string MessageSession::Quit(const Arguments& /*arguments*/) {
  End();
  return {};
}

}  // namespace tlk::message
