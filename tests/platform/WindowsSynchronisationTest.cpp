// What is particular to named mutexes on Windows.
#include <gtest/gtest.h>

#include <windows.h>

#include <sddl.h>

#include <string>
#include <utility>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"
#include "platform/windows/OwnedHandle.h"

namespace tlk {
namespace {

TEST(WindowsSynchronisation, OpensOnlyANamedMutexThatGrantsAllRights) {
  Synchronisation& system = SystemPlatform().synchronisation;
  const std::string name = "rights" + std::to_string(::GetCurrentProcessId());
  for (const auto& [rights, isOpened] : {std::pair("D:(D;;0x80000;;;WD)(A;;0x1F0001;;;WD)", false),
                                         std::pair("D:(A;;0x1F0001;;;WD)", true)}) {
    SECURITY_ATTRIBUTES granted{sizeof granted, nullptr, FALSE};
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorA(
        rights, SDDL_REVISION_1, &granted.lpSecurityDescriptor, nullptr));
    const OwnedHandle mutex(::CreateMutexA(&granted, FALSE, name.c_str()));
    ::LocalFree(granted.lpSecurityDescriptor);
    EXPECT_EQ(system.OpenNamedMutex(name.c_str()) != nullptr, isOpened) << rights;
  }
}

}  // namespace
}  // namespace tlk
