#include "Gestalt.h"

#include <gtest/gtest.h>

#include <sys/utsname.h>

namespace {
SInt32 Version(char const* release) {
  SInt32 v = -1;
  EXPECT_EQ(noErr, GestaltVersionFromRelease(release, &v)) << release;
  return v;
}
}  // namespace

TEST(Gestalt, KernelReleaseInBcd) {
  EXPECT_EQ(0x0610, Version("6.1.0-18-amd64"));
  EXPECT_EQ(0x1049, Version("10.4.9"));
  EXPECT_EQ(0x0600, Version("6"));
  EXPECT_EQ(0x0630, Version("6.3"));
  EXPECT_EQ(0x0417, Version("4.1.7-rc1"));
}

TEST(Gestalt, TwoDigitMinorAndBugFixAreClampedToNine) {
  EXPECT_EQ(0x0592, Version("5.15.2"));
  EXPECT_EQ(0x0699, Version("6.18.44-fc-v669"));
}

TEST(Gestalt, UnreadableReleaseAndUnknownSelector) {
  SInt32 v = 7;
  EXPECT_EQ(gestaltUnknownErr, GestaltVersionFromRelease("linux", &v));
  EXPECT_EQ(7, v);
  EXPECT_EQ(paramErr, GestaltVersionFromRelease(nullptr, &v));
  EXPECT_EQ(gestaltUndefSelectorErr, Gestalt(FOUR_CHAR_CODE("xxxx"), &v));
  EXPECT_EQ(paramErr, Gestalt(gestaltSystemVersion, nullptr));
}

TEST(Gestalt, SystemVersionIsTheRunningKernel) {
  struct utsname name {};
  ASSERT_EQ(0, ::uname(&name));
  SInt32 v = 0;
  ASSERT_EQ(noErr, Gestalt(gestaltSystemVersion, &v));
  EXPECT_EQ(Version(name.release), v);
  EXPECT_GT(v, 0x0200);
}
