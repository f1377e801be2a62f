// Messages that are well-formed and meant to hold their reader up.

#include <algorithm>
#include <ctime>
#include <limits>

#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

class HostileMessageTest : public CodecTest {
 protected:
  /// The time that it takes to read the data of a message with so many long prefixes, which the
  /// data inherits: the best of a few, for other programs run beside this one.
  std::clock_t TimeToRead(int prefixes) {
    std::string text = "<m";
    for (int i = 0; i < prefixes; ++i)
      text += " xmlns:" + std::string(5000, 'p') + std::to_string(i) + "='u'";
    TLK_XMLParser parser(m_codec, text + "><Data><a/></Data></m>");
    std::clock_t best = std::numeric_limits<std::clock_t>::max();
    for (int round = 0; round < 5; ++round) {
      std::string data;
      const std::clock_t start = std::clock();
      EXPECT_EQ(parser.GetData(data), 0);
      best = std::min(best, std::clock() - start);
      EXPECT_GT(data.size(), text.size());
    }
    return best;
  }
};

// One message held the host's thread for more than a second: of a thousand prefixes, each was
// compared with each.
TEST_F(HostileMessageTest, ManyPrefixesTakeTimeInProportion) {
  EXPECT_LT(TimeToRead(1000), 8 * TimeToRead(250));
}

}  // namespace
}  // namespace tlk
