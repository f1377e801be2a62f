#include "tools/tlk/doctor/Judgement.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace tlk::doctor {
namespace {

/// The system compares names, ids and models without regard to case.
bool AreSame(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::tolower(x) == std::tolower(y);
  });
}

struct Rule {
  bool (*isBroken)(const Finding& found);
  const char* misfit;
};

constexpr Rule kRulesOfTheClass[] = {
    {[](const Finding& found) { return !AreSame(found.independentName, kControlName); },
     "the class does not call itself TlkC2.Tlkc: register the module again"},
    {[](const Finding& found) {
       return found.currentName.empty() || !AreSame(found.currentName, found.name) ||
              !AreSame(found.currentClassId, found.classId);
     },
     "the name of the current version and the class do not mean each other: register the module "
     "again"},
    {[](const Finding& found) { return found.module.path.empty(); },
     "the class has no module: register the module again"},
    {[](const Finding& found) {
       return !found.module.path.empty() && found.module.kind == FileKind::kMissing;
     },
     "the module is not there: put it back, or register it where it is now"},
    {[](const Finding& found) { return found.module.kind == FileKind::kNoModule; },
     "the module is not a program file: replace it by a sound copy"},
    {[](const Finding& found) { return found.view == 64 && found.module.kind == FileKind::k32Bit; },
     "a 32-bit module serves no 64-bit program: register the 64-bit one here"},
    {[](const Finding& found) { return found.view == 32 && found.module.kind == FileKind::k64Bit; },
     "a 64-bit module serves no 32-bit program: register the 32-bit one here"},
    {[](const Finding& found) { return !AreSame(found.threadingModel, "Apartment"); },
     "the threading model is not Apartment: register the module again"},
    {[](const Finding& found) { return found.libraryId.empty() || LibraryOf(found).path.empty(); },
     "the class's type library is not registered: register the module again"},
    {[](const Finding& found) {
       return !LibraryOf(found).path.empty() && LibraryOf(found).kind == FileKind::kMissing;
     },
     "the type library's file is not there: register the module again"},
};

constexpr const char* kNotRegistered =
    "the control is not registered: run \"regsvr32 TlkC2.dll\" as an administrator, or \"regsvr32 "
    "/n /i:user TlkC2.dll\" for yourself alone";
constexpr const char* kNameWithoutClass =
    "TlkC2.Tlkc means no class that is registered: register the module again";

bool HasName(const Finding& found) { return !found.classId.empty() || !found.currentName.empty(); }

/// The name belongs to both views together, so a view may have it without the class.
bool IsNameWithoutClass(const Finding& found, std::span<const Finding> all) {
  return HasName(found) && std::none_of(all.begin(), all.end(), [&](const Finding& other) {
           return other.hasClass && AreSame(other.classId, found.classId);
         });
}

/// What is to be said of a place because of another one.
struct NoteRule {
  bool (*holds)(const Finding& found, const Finding& other);
  const char* note;
};

constexpr NoteRule kNoteRules[] = {
    {[](const Finding& found, const Finding& other) {
       return found.hive == "user" && other.hive == "machine" && found.view == other.view &&
              found.hasClass && other.hasClass;
     },
     "hides the machine's registration from the user's programs; elevated ones still take the "
     "machine's"},
    {[](const Finding& found, const Finding& other) {
       return found.hive == other.hive && found.view < other.view && found.hasClass &&
              other.hasClass;
     },
     "shares the names TlkC2.Tlkc and TlkC2.Tlkc.1 with the 64-bit view: they go with the last of "
     "the two registrations"},
    {[](const Finding& found, const Finding& other) {
       return found.hive == other.hive && !found.hasClass && HasName(found) && other.hasClass;
     },
     "has the names alone, which both views share: programs of this bitness find no control by "
     "them"},
};

}  // namespace

std::string PlaceName(const Finding& registration) {
  return registration.hive + " hive, " + std::to_string(registration.view) + "-bit view";
}

const NamedFile& LibraryOf(const Finding& registration) {
  return registration.view == 64 ? registration.library64 : registration.library32;
}

std::vector<std::string> FindMisfits(std::span<const Finding> findings) {
  if (std::none_of(findings.begin(), findings.end(), HasName)) return {kNotRegistered};
  std::vector<std::string> misfits;
  for (const Finding& found : findings) {
    const std::string place = PlaceName(found) + ": ";
    if (IsNameWithoutClass(found, findings)) misfits.push_back(place + kNameWithoutClass);
    for (const Rule& rule : kRulesOfTheClass) {
      if (found.hasClass && rule.isBroken(found)) misfits.push_back(place + rule.misfit);
    }
  }
  return misfits;
}

std::vector<std::string> FindNotes(std::span<const Finding> findings) {
  std::vector<std::string> notes;
  for (const Finding& found : findings) {
    for (const Finding& other : findings) {
      for (const NoteRule& rule : kNoteRules) {
        if (rule.holds(found, other)) notes.push_back(PlaceName(found) + ": " + rule.note);
      }
    }
  }
  return notes;
}

}  // namespace tlk::doctor
