#include "tools/tlk/doctor/Judgement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tlk::doctor {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

Finding Nothing(const char* hive, int view) {
  Finding found;
  found.hive = hive;
  found.view = view;
  return found;
}

/// What Windows shows of a class in the view that it was not registered for: the name alone.
Finding NameAlone(const char* hive, int view) {
  Finding found = Nothing(hive, view);
  found.classId = found.currentClassId = "{A}";
  found.currentName = "TlkC2.Tlkc.1";
  return found;
}

Finding Sound(const char* hive, int view) {
  Finding found = NameAlone(hive, view);
  found.name = found.currentName;
  found.hasClass = true;
  found.independentName = "TlkC2.Tlkc";
  found.module = {"TlkC2.dll", view == 64 ? FileKind::k64Bit : FileKind::k32Bit};
  found.threadingModel = "Apartment";
  found.version = "1.0";
  found.libraryId = "{L}";
  (view == 64 ? found.library64 : found.library32) = found.module;
  return found;
}

std::vector<std::string> Judge(std::initializer_list<Finding> registrations) {
  return FindMisfits({registrations.begin(), registrations.size()});
}

TEST(Judgement, AsksForOneSoundRegistrationAndNoMore) {
  EXPECT_THAT(Judge({Nothing("machine", 64), Nothing("user", 64)}),
              ElementsAre(StartsWith("the control is not registered: ")));
  EXPECT_THAT(Judge({Nothing("machine", 64), Sound("user", 64)}), ElementsAre());
  EXPECT_THAT(Judge({Sound("machine", 64), NameAlone("machine", 32)}), ElementsAre());
  EXPECT_THAT(Judge({NameAlone("machine", 64), Sound("machine", 32)}), ElementsAre());
  EXPECT_THAT(Judge({NameAlone("machine", 64), NameAlone("machine", 32)}),
              ElementsAre(StartsWith("machine hive, 64-bit view: TlkC2.Tlkc means no class"),
                          StartsWith("machine hive, 32-bit view: TlkC2.Tlkc means no class")));
}

MATCHER(SaysOfTheUser, "") {
  const auto& [said, misfit] = arg;
  return said.starts_with("user hive, ") && said.find(misfit) != said.npos;
}

TEST(Judgement, TellsEachMisfitAndWhereItIs) {
  const std::pair<void (*)(Finding&), std::vector<const char*>> cases[] = {
      {[](Finding& r) { r.independentName = "Other"; }, {"does not call itself TlkC2.Tlkc"}},
      {[](Finding& r) { r.currentName = r.name = ""; }, {"name of the current version"}},
      {[](Finding& r) { r.name = "TlkC2.Tlkc.2"; }, {"name of the current version"}},
      {[](Finding& r) { r.currentClassId = "{B}"; }, {"name of the current version"}},
      {[](Finding& r) { r.module = {}; }, {"has no module"}},
      {[](Finding& r) { r.module.kind = FileKind::kMissing; }, {"module is not there"}},
      {[](Finding& r) { r.module.kind = FileKind::kNoModule; }, {"not a program file"}},
      {[](Finding& r) { r.module.kind = FileKind::k32Bit; }, {"serves no 64-bit program"}},
      {[](Finding& r) { r.threadingModel = "Both"; }, {"threading model is not Apartment"}},
      {[](Finding& r) { r.libraryId = ""; }, {"type library is not registered"}},
      {[](Finding& r) { std::swap(r.library32, r.library64); }, {"type library is not registered"}},
      {[](Finding& r) { r.library64.kind = FileKind::kMissing; }, {"library's file is not there"}},
      {[](Finding& r) { (r = Sound("user", 32)).module.kind = FileKind::k64Bit; },
       {"serves no 32-bit program"}},
      {[](Finding& r) { r.independentName = "TLKC2.TLKC"; }, {}},
      {[](Finding& r) { r.currentClassId = "{a}"; }, {}},
      {[](Finding& r) { r.threadingModel = "apartment"; }, {}},
  };
  for (const auto& [spoil, misfits] : cases) {
    Finding spoilt = Sound("user", 64);
    spoil(spoilt);
    EXPECT_THAT(Judge({Sound("machine", 64), spoilt}),
                testing::Pointwise(SaysOfTheUser(), misfits));
  }
}

TEST(Judgement, NotesWhatIsHiddenAndWhatIsShared) {
  const std::vector<Finding> all{Sound("machine", 64), NameAlone("machine", 32), Sound("user", 64),
                                 Sound("user", 32)};
  EXPECT_THAT(FindNotes(all),
              ElementsAre(StartsWith("machine hive, 32-bit view: has the names alone"),
                          StartsWith("user hive, 64-bit view: hides the machine's registration"),
                          StartsWith("user hive, 32-bit view: shares the names")));
}

}  // namespace
}  // namespace tlk::doctor
