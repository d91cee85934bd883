#include "CoreSystem.h"
#include "Gestalt.h"
#include "T_numeric_base.h"
#include "TestLog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {
std::string WithoutLineNumbers(std::string const& text) {
  return std::regex_replace(text, std::regex(":[0-9]+ \\("), ":# (");
}
OSErr FailingQuery(OSType, SInt32*) { return gestaltUnknownErr; }
OSErr AnswerTen49(OSType selector, SInt32* response) {
  if (selector != gestaltSystemVersion) return gestaltUndefSelectorErr;
  *response = 0x1049;
  return noErr;
}
}  // namespace

TEST(CoreSystem, BugFixDigitIsIgnored) {
  CoreSystem const ten49(0x1049);
  EXPECT_TRUE(ten49.IsAtLeast(CoreSystemName(0x1040)));
  EXPECT_TRUE(ten49.IsAtLeast(CoreSystemName(0x1039)));
  // 10.4.9 counts as 10.4.0.
  EXPECT_FALSE(ten49.IsAtLeast(CoreSystemName(0x1041)));
  EXPECT_FALSE(ten49.IsAtLeast(CoreSystemName(0x1050)));

  CoreSystem const ten39(0x1039);
  EXPECT_FALSE(ten39.IsAtLeast(CoreSystemName(0x1040)));
  EXPECT_TRUE(ten39.IsAtLeast(CoreSystemName(0x1030)));
}

TEST(CoreSystem, ComparedAsSigned) {
  CoreSystem const v(0x1049);
  EXPECT_TRUE(v.IsAtLeast(CoreSystemName(-1)));
  CoreSystem const negative(-16);
  EXPECT_FALSE(negative.IsAtLeast(CoreSystemName(0)));
}

TEST(CoreSystem, ReadsTheVersionThroughTheQuery) {
  tavelo_test::LogTail tail;
  CoreSystem const s(&AnswerTen49);
  EXPECT_EQ(0x1049, s.mSystemVersion);
  EXPECT_EQ("", tail.Text());
}

TEST(CoreSystem, FailedQueryIsLogged) {
  tavelo_test::LogTail tail;
  CoreSystem const s(&FailingQuery);
  EXPECT_EQ(0, s.mSystemVersion);
  EXPECT_EQ("VERIFY FAILED:  code : error==noErr in /Code/sdk/CoreX/CoreSystem:# (CoreSystem::CoreSystem)\n",
            WithoutLineNumbers(tail.Text()));
}

TEST(CoreSystem, SingletonHoldsTheRunningSystem) {
  SInt32 version = 0;
  ASSERT_EQ(noErr, Gestalt(gestaltSystemVersion, &version));
  EXPECT_EQ(version, CoreSystem::Get().mSystemVersion);
  EXPECT_EQ(&CoreSystem::Get(), &CoreSystem::Get());
  EXPECT_TRUE(CoreSystem::Get().IsAtLeast(CoreSystemName(version & ~0xF)));
  EXPECT_FALSE(CoreSystem::Get().IsAtLeast(CoreSystemName((version & ~0xF) + 0x10)));
}

TEST(T_numeric_base, NamesOfNumberTypes) {
  EXPECT_STREQ("kCFNumberSInt8Type", T_numeric_base::name_of(kCFNumberSInt8Type));
  EXPECT_STREQ("kCFNumberSInt16Type", T_numeric_base::name_of(kCFNumberSInt16Type));
  EXPECT_STREQ("kCFNumberSInt32Type", T_numeric_base::name_of(kCFNumberSInt32Type));
  EXPECT_STREQ("kCFNumberSInt64Type", T_numeric_base::name_of(kCFNumberSInt64Type));
  EXPECT_STREQ("kCFNumberCharType", T_numeric_base::name_of(kCFNumberCharType));
  EXPECT_STREQ("kCFNumberShortType", T_numeric_base::name_of(kCFNumberShortType));
  EXPECT_STREQ("kCFNumberIntType", T_numeric_base::name_of(kCFNumberIntType));
  EXPECT_STREQ("kCFNumberLongType", T_numeric_base::name_of(kCFNumberLongType));
  EXPECT_STREQ("kCFNumberLongLongType", T_numeric_base::name_of(kCFNumberLongLongType));
  EXPECT_STREQ("kCFNumberFloatType", T_numeric_base::name_of(kCFNumberFloatType));
  EXPECT_STREQ("kCFNumberDoubleType", T_numeric_base::name_of(kCFNumberDoubleType));
  EXPECT_STREQ("kCFNumberCFIndexType", T_numeric_base::name_of(kCFNumberCFIndexType));
}

TEST(T_numeric_base, FloatTypesAndOthersAreUnknown) {
  EXPECT_STREQ("Unknown", T_numeric_base::name_of(CFNumberType(5)));
  EXPECT_STREQ("Unknown", T_numeric_base::name_of(CFNumberType(6)));
  EXPECT_STREQ("Unknown", T_numeric_base::name_of(CFNumberType(0)));
  EXPECT_STREQ("Unknown", T_numeric_base::name_of(kCFNumberNSIntegerType));
  EXPECT_STREQ("Unknown", T_numeric_base::name_of(CFNumberType(99)));
}
