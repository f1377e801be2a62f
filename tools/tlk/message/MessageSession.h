#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tlk/CommandForm.h"
#include "tools/tlk/CommandSession.h"
#include "xml/Codec.h"
#include "xml/TLK_XMLBuilder.h"
#include "xml/TLK_XMLParser.h"

namespace tlk::message {

/// Runs the commands of the workbench on one builder, which is empty at first, and on the parser of
/// the last `parse`. Prints of each operation its name, its result and, where it wrote one, its
/// value: a text in quotes, or a number.
class MessageSession : public CommandSession {
 public:
  /// What `codec` refers to outlives the session.
  MessageSession(const Codec& codec, Print print);

  [[nodiscard]] static std::vector<CommandForm> AllForms();

 private:
  void RunLine(std::string_view line) override;

  struct Action;
  struct Commands;

  // One for each command, and one for each kind of operation that takes texts alone. They return
  // what is printed behind the command's name, or nothing.
  std::string Create(const Arguments& arguments);
  template <int (TLK_XMLBuilder::*operation)(std::string_view)>
  std::string Edit(const Arguments& arguments);
  template <int (TLK_XMLBuilder::*operation)(std::string_view, std::string_view)>
  std::string EditByTwo(const Arguments& arguments);
  std::string Conference(const Arguments& arguments);
  std::string Participant(const Arguments& arguments);
  std::string SetLength(const Arguments& arguments);
  std::string Xml(const Arguments& arguments);
  std::string NodeText(const Arguments& arguments);
  std::string SetNodeAttribute(const Arguments& arguments);

  std::string Parse(const Arguments& arguments);
  std::string Type(const Arguments& arguments);
  std::string Receiver(const Arguments& arguments);
  std::string Data(const Arguments& arguments);
  std::string Node(const Arguments& arguments);
  std::string Attribute(const Arguments& arguments);

  std::string ShowHelp(const Arguments& arguments);
  std::string Quit(const Arguments& arguments);

  const Codec m_codec;
  TLK_XMLBuilder m_builder;
  std::unique_ptr<TLK_XMLParser> m_parser;
};

}  // namespace tlk::message
