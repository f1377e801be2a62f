// What an entry of a long list costs, next to one of a short list.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/Comparison.h"
#include "bench/Messages.h"
#include "xml/TLK_XMLBuilder.h"

namespace tlk::bench {
namespace {

constexpr int kLong = 10'000;
constexpr int kShort = 10;

/// Measures `work` on a fresh message as often as it takes to handle `kLong` entries or more.
template <typename Prepare, typename Work>
std::function<double()> Round(const Codec& codec, int entries, Prepare prepare, Work work) {
  return [=, &codec] {
    constexpr int kEntries = 3 * kLong;
    double seconds = 0;
    for (int done = 0; done < kEntries; done += entries) {
      TLK_XMLBuilder builder(codec);
      prepare(builder);
      const double start = Seconds();
      work(builder);
      seconds += Seconds() - start;
    }
    return seconds * 1e9 / kEntries;
  };
}

void CompareLengths(const std::string& what, std::function<double()> inLong,
                    std::function<double()> inShort) {
  Compare({.subject = "lists",
           .what = what,
           .unit = "ns",
           .ours = std::move(inLong),
           .limits = {{{"in a list of 10", std::move(inShort)}, 2.0}},
           .peers = {}});
}

void CompareConferences(const Codec& codec) {
  const auto round = [&codec](int entries) {
    const auto prepare = [](TLK_XMLBuilder& builder) {
      builder.CreateMessage("Conferences", 0, 7);
      builder.EnsureDataElement();
    };
    return Round(codec, entries, prepare, [entries](TLK_XMLBuilder& builder) {
      for (int i = 0; i < entries; ++i) builder.AddConferenceList("Planning", i, "Anna", 60);
    });
  };
  CompareLengths("a conference in a list of 10,000", round(kLong), round(kShort));
}

/// Entries of names that all differ, and the paths to them, in the same order.
struct Lists {
  explicit Lists(int entries) {
    attributes = "<Attribute_List>";
    paths = "<Path_List>";
    for (int i = 0; i < entries; ++i) {
      const std::string name = "Name" + std::to_string(100'000 + i);
      attributes.append("<").append(name).append(">value</").append(name).append(">");
      paths.append("<Path>").append(name).append("</Path>");
    }
    attributes += "</Attribute_List>";
    paths += "</Path_List>";
  }

  std::string attributes;
  std::string paths;
};

using Edit = int (*)(TLK_XMLBuilder&, const Lists&);

struct ListOperation {
  const char* name;
  Edit edit;
  bool needsList;
};

constexpr ListOperation kOperations[] = {
    {"add", [](auto& b, auto& l) { return b.AddAttributes(l.attributes); }, false},
    {"add at paths", [](auto& b, auto& l) { return b.AddAttributesAtPaths(l.attributes, l.paths); },
     true},
    {"delete", [](auto& b, auto& l) { return b.DeleteAttributes(l.attributes); }, true},
    {"delete at paths", [](auto& b, auto& l) { return b.DeleteAttributesAtPaths(l.paths); }, true},
    {"update", [](auto& b, auto& l) { return b.UpdateAttributes(l.attributes); }, true},
    {"update at paths",
     [](auto& b, auto& l) { return b.UpdateAttributesAtPaths(l.attributes, l.paths); }, true},
};

void ExpectSuccess(const char* operation, int result) {
  if (result == 0) return;
  std::fprintf(stderr, "%s does not work\n", operation);
  std::exit(1);
}

void CompareOperation(const Codec& codec, const ListOperation& operation, const Lists& inLong,
                      const Lists& inShort) {
  const auto round = [&](int entries, const Lists& lists) {
    const auto prepare = [&](TLK_XMLBuilder& builder) {
      builder.CreateMessage("Attributes", 0, 7);
      builder.EnsureDataElement();
      if (operation.needsList) builder.AppendData(lists.attributes);
    };
    return Round(codec, entries, prepare, [&](TLK_XMLBuilder& builder) {
      ExpectSuccess(operation.name, operation.edit(builder, lists));
    });
  };
  CompareLengths("an entry of 10,000: " + std::string(operation.name), round(kLong, inLong),
                 round(kShort, inShort));
}

}  // namespace
}  // namespace tlk::bench

int main() {
  using namespace tlk::bench;
  PinToProcessor(0);
  const MessageCodec messages;
  CompareConferences(messages.codec);
  const Lists inLong(kLong);
  const Lists inShort(kShort);
  for (const ListOperation& operation : kOperations)
    CompareOperation(messages.codec, operation, inLong, inShort);
}
