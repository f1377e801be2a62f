// Documents in code pages that are not the system's.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/posix/PosixAnsiText.h"
#include "xml/Gate.h"
#include "xml/pugixml/PugiDom.h"

namespace tlk {
namespace {

// A message could not be read where it arrived: half a character at the end of an instruction was
// sent as a question mark, and ended the instruction early.
TEST(CodePage, ABrokenCharacterDoesNotEndAnInstruction) {
  const PosixAnsiText japanese("CP932");
  const XmlGate gate(japanese);
  PugiDomFactory factory(japanese);
  std::unique_ptr<DomDocument> document;
  ASSERT_EQ(factory.NewDocument(document), kDomOk);
  bool loaded = false;
  std::string xml;
  ASSERT_EQ(document->LoadXml("<a>\x93<?p x\x93><b?><?q\xFD><c?></a>", loaded), kDomOk);
  ASSERT_EQ(document->Xml(nullptr, xml), kDomOk);
  EXPECT_EQ(xml, "<a>?<?p x ><b?><?q ><c?></a>");
  EXPECT_TRUE(gate.Pass(xml).Passed());
}

}  // namespace
}  // namespace tlk
