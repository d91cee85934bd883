// This program is linked without a bundle identifier of its own.
#include "CoreMachDebugLog.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

TEST(CoreMachDebugLog, EmptyApplicationNameLogsToCoreConsole) {
  EXPECT_STREQ("", CoreMachDebugLogBundleIdentifier());
  CoreMachDebugLog("default name %d\n", 7);
  std::string const expected = std::string(std::getenv("XDG_STATE_HOME")) + "/CoreConsole.log";
  EXPECT_EQ(expected, CoreMachDebugLogFilePath());
  EXPECT_EQ("default name 7\n", tavelo_test::ReadFile(expected));
}
