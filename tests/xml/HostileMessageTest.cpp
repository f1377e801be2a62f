// Messages that are well-formed and meant to hold their reader up.

#include <algorithm>
#include <ctime>
#include <limits>

#include "tests/xml/CodecTest.h"

namespace tlk {
namespace {

class HostileMessageTest : public CodecTest {
 protected:
  /// The time that it takes to read a message so many times, asked for as dispatch asks: the best
  /// of a few, for other programs run beside this one.
  std::clock_t TimeToRead(const std::string& message, int times = 1) {
    std::clock_t best = std::numeric_limits<std::clock_t>::max();
    for (int round = 0; round < 5; ++round) {
      TLK_XMLParser parser(m_codec, message);
      std::string data;
      std::int32_t id = 0;
      const std::clock_t start = std::clock();
      for (int read = 0; read < times; ++read) {
        parser.GetReceiverId(id);
        EXPECT_EQ(parser.GetData(data), 0);
      }
      best = std::min(best, std::clock() - start);
      EXPECT_NE(data, "");
    }
    return best;
  }

  /// As often as makes it the same number of prefixes altogether.
  std::clock_t TimeToInherit(int prefixes) {
    std::string text = "<m";
    for (int i = 0; i < prefixes; ++i)
      text += " xmlns:" + std::string(50, 'p') + std::to_string(i) + "='u'";
    return TimeToRead(text + "><Data><a/></Data></m>", 20'000 / prefixes);
  }

  std::clock_t TimeToPass(int attributes) {
    std::string text = "<m";
    for (int i = 0; i < attributes; ++i) text += " a" + std::to_string(i) + "=''";
    text += " xmlns='u'>";
    for (int i = 0; i < 50'000; ++i) text += "<To/><Data/>";
    return TimeToRead(text + "<Data xmlns=''/></m>");
  }
};

// One message held the host's thread for more than a second: of a thousand prefixes, each was
// compared with each.
TEST_F(HostileMessageTest, ManyPrefixesTakeTimeInProportion) {
  EXPECT_LT(TimeToInherit(1000), 4 * TimeToInherit(100));
}

// Another for seven seconds: behind a thousand attributes the root declared a namespace, and each
// child asked for it.
TEST_F(HostileMessageTest, ManyStrangersTakeTimeInProportion) {
  EXPECT_LT(TimeToPass(1000), 8 * TimeToPass(1));
}

}  // namespace
}  // namespace tlk
