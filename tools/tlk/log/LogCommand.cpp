#include "tools/tlk/log/LogCommand.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <iostream>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Surroundings.h"
#include "tools/tlk/Commands.h"
#include "tools/tlk/NumberOption.h"
#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/StandardInput.h"
#include "tools/tlk/Words.h"
#include "tools/tlk/log/Following.h"
#include "tools/tlk/log/Listing.h"
#include "tools/tlk/log/SearchedText.h"

namespace tlk::log {
namespace {

constexpr const char* kLogHelp =
    "Without a LOG it reads this user's, TLK_Client.log in his temporary folder, with the older\n"
    "files behind it, TLK_Client1.log and so on; of a folder the log in that, of a file that one\n"
    "alone, and of - what comes on standard input. Files of one log are read in the order of\n"
    "time, whatever the order they are named in.\n"
    "\n"
    "A record begins at the start of a line, its further lines are indented by two blanks, and\n"
    "what is said of it stands below behind \"= \". A line behind \"! \" looks like a record and "
    "is\n"
    "none: it came in the text of a message. A record that may have come so is called suspect.\n"
    "A line behind \"? \" belongs to no record.\n"
    "\n"
    "WHEN is a time as in the log, 2026-11-22 10:20 (with seconds and milliseconds if need be),\n"
    "10:20 for one of today, or how long ago: 90s, 10m, 2h, 3d.\n"
    "\n"
    "With --follow it ends on Ctrl-C, and when nobody reads its output any more; Windows tells of\n"
    "that with the next record alone. The status is 1 when a log cannot be read.\n"
    "\n"
    "Examples:\n"
    "  tlk log --errors --explain       what went wrong, and what to do about it\n"
    "  tlk log --follow --since 10m     go on with what is written\n"
    "  tlk log --line 1000 --grep Chat  messages received of a type with Chat in it\n"
    "  tlk log --summary --since 3d     connections, messages and errors of three days\n"
    "  tlk log --json old/TLK_Client*.log";

constexpr std::string_view kInput = "-";

struct LogOptions {
  std::vector<std::string> places;
  Wanted wanted;
  Shown shown;
  bool follows = false;
};

bool IsFolder(const std::string& path) {
  return SystemPlatform().files.VisitFolder(LogIn(path), [](std::string_view) {});
}

int CannotRead(const std::string& path, const std::string& failure) {
  std::cerr << "tlk log: cannot read " << path << ": " << failure << '\n';
  return 1;
}

/// Reads one place after the other.
class LogRun {
 public:
  explicit LogRun(Listing& listing) : m_take([&](const Record& record) { listing.Take(record); }) {}

  int Read(const std::string& place) {
    if (place == kInput) return ReadInput();
    return IsFolder(place) ? ReadFolder(place) : ReadOne(place);
  }

 private:
  int ReadInput() {
    for (std::string bytes; ReadStandardInput(bytes); bytes.clear()) {
      m_reader.Append(bytes);
      GiveAll();
    }
    End();
    return 0;
  }

  int ReadFolder(const std::string& folder) {
    bool isFound = false;
    auto files = Generations(LogIn(folder)).OpenNewer(std::nullopt, isFound);
    if (files.empty()) return CannotRead(LogIn(folder), "there is no trace log");
    for (auto& file : files) {
      ReadFile(*file);
      file.reset();  // On some systems its name is not free before.
    }
    return 0;
  }

  int ReadOne(const std::string& path) {
    std::string failure;
    const auto file = LogFile::Open(path, failure);
    if (!file) return CannotRead(path, failure);
    ReadFile(*file);
    return 0;
  }

  void ReadFile(const LogFile& file) {
    std::uint64_t offset = 0;
    m_blocks->ReadOn(file, offset, m_reader, m_take);
    End();
  }

  void GiveAll() {
    Record record;
    while (m_reader.Next(record)) m_take(record);
  }

  void End() {
    m_reader.End();
    GiveAll();
  }

  const std::function<void(const Record&)> m_take;
  const std::unique_ptr<BlockReader> m_blocks = std::make_unique<BlockReader>();
  RecordReader m_reader;
};

/// Goes on until the program is ended, or nobody reads what it writes.
int Follow(const std::string& place, Listing& listing) {
  constexpr std::uint32_t kBetweenLooks = 200;
  const std::string path = IsFolder(place) ? LogIn(place) : place;
  Following following{Generations(path),
                      {.record = [&](const Record& record) { listing.Take(record); },
                       .remark = [&](const char* remark) { listing.Remark(remark); }}};
  while (OwnOutput::Get().HasReader()) {
    const bool hasRead = following.Look();
    listing.Flush();
    if (!hasRead) SystemPlatform().surroundings.Sleep(kBetweenLooks);
  }
  return OwnOutput::kStatusOutputLost;
}

void RefuseMisfits(const LogOptions& options) {
  const bool hasForm = options.follows || options.shown.asJson || options.shown.withExplanations;
  if (options.shown.asSummary && hasForm) {
    throw CLI::ValidationError("--summary does not go with --follow, --json and --explain");
  }
  const auto& places = options.places;
  if (options.follows && !places.empty() && (places.size() > 1 || places.front() == kInput)) {
    throw CLI::ValidationError("--follow is for one FILE or FOLDER");
  }
}

int RunLog(LogOptions options) {
  options.wanted.text = SearchedText(options.wanted.text);
  Listing listing(options.wanted, options.shown,
                  [](std::string_view text) { OwnOutput::Get().Text(text); });
  if (options.places.empty()) options.places.push_back(DefaultFolder());
  if (options.follows) return Follow(options.places.front(), listing);
  SortByGeneration(options.places);
  LogRun run(listing);
  int status = 0;
  for (const std::string& place : options.places) status |= run.Read(place);
  listing.End();
  return status;
}

void AddTime(CLI::App& command, const std::string& name, std::optional<Moment>& moment,
             const std::string& description) {
  const auto read = [&moment, name](const std::string& word) {
    moment = ParseMoment(word, SystemPlatform().surroundings.Now());
    if (moment) return;
    throw CLI::ValidationError(name +
                               " must be a time such as 2026-11-22 10:20 or 10:20, or how "
                               "long ago such as 10m, not " +
                               Quote(word));
  };
  command.add_option_function<std::string>(name, read, description)->type_name("WHEN");
}

void ReadPlace(const std::string& word, Wanted& wanted) {
  const std::size_t colon = word.rfind(':');
  const std::string_view number =
      std::string_view(word).substr(colon == std::string::npos ? 0 : colon + 1);
  std::int32_t line = 0;
  const auto [end, code] = std::from_chars(number.data(), number.data() + number.size(), line);
  if (code != std::errc{} || end != number.data() + number.size() || colon == 0) {
    throw CLI::ValidationError(
        "--line must be a number such as 280, or one with its source such "
        "as TLK_XMLParser:72, not " +
        Quote(word));
  }
  wanted.line = line;
  if (colon != std::string::npos) wanted.source = word.substr(0, colon);
}

void AddFilters(CLI::App& command, Wanted& wanted) {
  AddTime(command, "--since", wanted.since, "Only records of that time and later");
  AddTime(command, "--until", wanted.until, "Only records of that time and earlier");
  command.add_flag("--errors", wanted.errorsOnly, "Only errors, mark E");
  wanted.thread.emplace();
  AddNumber(command, "--thread", *wanted.thread, "Only records of that thread",
            std::numeric_limits<std::int32_t>::min())
      ->type_name("N");
  command
      .add_option_function<std::string>(
          "--line", [&wanted](const std::string& word) { ReadPlace(word, wanted); },
          "Only records of that line of a source, such as 280 or TLK_XMLParser:72")
      ->type_name("[SOURCE:]N");
  command
      .add_option("--grep", wanted.text,
                  "Only records that hold TEXT, as it is: no pattern, upper and lower case differ")
      ->type_name("TEXT");
}

}  // namespace
}  // namespace tlk::log

namespace tlk {

void AddLogCommand(CLI::App& app, int& exitStatus) {
  auto* const command = app.add_subcommand("log", "Read the trace log.");
  const auto options = std::make_shared<log::LogOptions>();
  command
      ->add_option("LOG", options->places,
                   "A FILE or a FOLDER to read; without it, this user's log")
      ->type_name("");
  command->add_flag("-f,--follow", options->follows, "Go on with what is written to the log");
  log::AddFilters(*command, options->wanted);
  command->add_flag("--explain", options->shown.withExplanations,
                    "Say below each record what it means and what to do");
  command->add_flag("--json", options->shown.asJson, "Print each record as a JSON object");
  command->add_flag("--summary", options->shown.asSummary,
                    "Print connections, messages by type and errors by place instead");
  AddSystemOptions(*command);
  command->footer(log::kLogHelp);
  command->callback([command, options, &exitStatus] {
    if (command->count("--thread") == 0) options->wanted.thread.reset();
    log::RefuseMisfits(*options);
    exitStatus = log::RunLog(*options);
  });
}

}  // namespace tlk
