#include "tools/tlk/doctor/DoctorCommand.h"

#include <CLI/CLI.hpp>
#include <string>

#include "tools/tlk/OwnOutput.h"
#include "tools/tlk/doctor/Judgement.h"
#include "tools/tlk/doctor/windows/RegistryFacts.h"

namespace tlk {
namespace {

using doctor::FileKind;
using doctor::Finding;
using doctor::NamedFile;

constexpr const char* kDoctorHelp =
    "Looks in the machine's and the user's registry, as 64-bit and as 32-bit programs see it. The\n"
    "status is 0 when the control is registered and all fits, 1 when something does not; each\n"
    "line that begins with \"misfit\" says what, and what to do. A \"note\" tells of what is\n"
    "registered twice: which one hides the other, or what they share.\n"
    "\n"
    "Examples:\n"
    "  tlk doctor\n"
    "  regsvr32 /s TlkC2.dll && tlk doctor";

struct KindName {
  FileKind kind;
  const char* name;
};

constexpr KindName kKindNames[] = {
    {FileKind::kMissing, "not there"},
    {FileKind::kNoModule, "no module"},
    {FileKind::k32Bit, "32-bit"},
    {FileKind::k64Bit, "64-bit"},
};

std::string OrNone(const std::string& text) { return text.empty() ? "none" : text; }

std::string Describe(const NamedFile& file) {
  if (file.path.empty()) return "none";
  for (const auto& [kind, name] : kKindNames) {
    if (kind == file.kind) return file.path + " (" + name + ")";
  }
  return file.path;
}

void Print(const Finding& found) {
  auto& output = OwnOutput::Get();
  const std::string place = PlaceName(found);
  if (!found.hasClass) {
    output.Line(place + ": not registered");
    return;
  }
  output.Line(place + ":");
  output.Line("  class            " + found.classId);
  output.Line("  path             " + Describe(found.module));
  output.Line("  threading model  " + OrNone(found.threadingModel));
  output.Line("  type library     " + OrNone(found.libraryId) + " " + found.version);
  output.Line("    win32          " + Describe(found.library32));
  output.Line("    win64          " + Describe(found.library64));
}

int Doctor() {
  const auto registrations = doctor::CollectFindings();
  for (const auto& found : registrations) Print(found);
  for (const auto& note : doctor::FindNotes(registrations)) OwnOutput::Get().Line("note: " + note);
  const auto misfits = doctor::FindMisfits(registrations);
  for (const auto& misfit : misfits) OwnOutput::Get().Line("misfit: " + misfit);
  if (!misfits.empty()) return 1;
  OwnOutput::Get().Line("all fits");
  return 0;
}

}  // namespace

void AddDoctorCommand(CLI::App& app, int& exitStatus) {
  auto* const command = app.add_subcommand("doctor", "See how the control is registered.");
  command->footer(kDoctorHelp);
  command->callback([&exitStatus] { exitStatus = Doctor(); });
}

}  // namespace tlk
