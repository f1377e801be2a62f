// The reader of the trace log on a file that is anything. An input is the sizes of the pieces that
// it comes in, behind their count, and the file.

#include <algorithm>
#include <string>

#include "fuzz/Fuzzing.h"
#include "tools/tlk/log/Explanations.h"
#include "tools/tlk/log/Listing.h"
#include "tools/tlk/log/RecordJson.h"
#include "tools/tlk/log/RecordReader.h"

namespace tlk::fuzz {
namespace {

using log::Listing;
using log::Record;
using log::RecordReader;

struct Outcome {
  std::string text;
  std::string json;
  std::string summary;
  std::size_t bytes = 0;  // Of all records, without their line ends.
};

/// A log that is read in three ways at once.
class Reading {
 public:
  void Append(std::string_view bytes) {
    m_reader.Append(bytes);
    GiveAll();
  }

  Outcome End() {
    m_reader.End();
    GiveAll();
    for (auto* const listing : {&m_text, &m_json, &m_summary}) listing->End();
    return m_outcome;
  }

 private:
  static Listing::Write To(std::string& text) {
    return [&text](std::string_view more) { text += more; };
  }

  void GiveAll() {
    Record record;
    while (m_reader.Next(record)) {
      Check(record.text.size() <= RecordReader::kLongestRecord, "no record is too long");
      m_outcome.bytes += record.text.size();
      for (auto* const listing : {&m_text, &m_json, &m_summary}) listing->Take(record);
    }
  }

  Outcome m_outcome;
  RecordReader m_reader;
  Listing m_text{{}, {.withExplanations = true}, To(m_outcome.text)};
  Listing m_json{{}, {.asJson = true}, To(m_outcome.json)};
  Listing m_summary{{}, {.asSummary = true}, To(m_outcome.summary)};
};

bool IsShown(unsigned char byte) { return byte == '\n' || byte == '\t' || byte >= 0x20; }

/// No control character, of one byte or of two.
void CheckPrintable(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    Check(IsShown(byte) && byte != 0x7F, "no control character is printed");
    Check(byte != 0xC2 || static_cast<unsigned char>(text[i + 1]) >= 0xA0,
          "no control character of the upper half is printed");
  }
}

/// Lines with an object each, whose quotes are all closed.
void CheckJson(std::string_view json) {
  while (!json.empty()) {
    const std::string_view line = json.substr(0, json.find('\n'));
    Check(line.starts_with('{') && line.ends_with('}'), "each line is an object");
    bool isQuoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
      Check(line[i] >= 0x20 && line[i] <= 0x7E, "the objects are plain ASCII");
      if (isQuoted && line[i] == '\\') {
        ++i;
      } else if (line[i] == '"') {
        isQuoted = !isQuoted;
      }
    }
    Check(!isQuoted, "each text is closed");
    json.remove_prefix(line.size() + 1);
  }
}

}  // namespace
}  // namespace tlk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tlk::fuzz;
  using tlk::log::RecordReader;
  Input input(data, size);
  std::string sizes(input.Choice(16), '\0');
  for (char& piece : sizes) piece = static_cast<char>(input.Byte());
  // Repeated, so that what is cut for its length is reached.
  const unsigned times = input.Choice(64) == 0 ? 2000 : 1;
  const std::string pattern = input.Rest();
  std::string file;
  for (unsigned i = 0; i < times && file.size() <= RecordReader::kLongestRecord; ++i)
    file += pattern;

  Reading whole;
  whole.Append(file);
  const Outcome expected = whole.End();
  Check(expected.bytes <= file.size(), "nothing is read twice");
  CheckPrintable(expected.text);
  CheckPrintable(expected.summary);
  CheckJson(expected.json);

  Reading pieces;
  std::string_view left = file;
  for (std::size_t i = 0; !left.empty(); ++i) {
    const std::size_t wanted =
        i < sizes.size() ? static_cast<unsigned char>(sizes[i]) + std::size_t{1} : left.size();
    pieces.Append(left.substr(0, wanted));
    left.remove_prefix(std::min(wanted, left.size()));
  }
  const Outcome outcome = pieces.End();
  Check(outcome.text == expected.text && outcome.json == expected.json &&
            outcome.summary == expected.summary,
        "pieces give the same records");
  return 0;
}
