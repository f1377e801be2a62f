// What is particular to named mutexes on Windows.
#include <gtest/gtest.h>

#include <windows.h>

#include <sddl.h>

#include "platform/Platform.h"
#include "platform/Synchronisation.h"
#include "platform/windows/OwnedHandle.h"

// All but the right to take the mutex over are granted.
TEST(WindowsSynchronisation, OpensNoNamedMutexThatDoesNotGrantAllRights) {
  SECURITY_ATTRIBUTES granted{sizeof granted, nullptr, FALSE};
  ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorA(
      "D:(D;;0x80000;;;WD)(A;;0x1F0001;;;WD)", SDDL_REVISION_1, &granted.lpSecurityDescriptor,
      nullptr));
  const tlk::OwnedHandle mutex(::CreateMutexA(&granted, FALSE, "not all rights"));
  ::LocalFree(granted.lpSecurityDescriptor);
  EXPECT_NE(mutex, nullptr);
  EXPECT_EQ(tlk::SystemPlatform().synchronisation.OpenNamedMutex("not all rights"), nullptr);
}
