// Which frames a batch plans, and how times and names are read and written.
#include <gtest/gtest.h>

#include <cmath>

#include "StillNames.h"
#include "StillPlan.h"

namespace {

uint32_t Frame(char const* text, bool pal = false) {
  uint32_t frame = 0xFFFFFFFFu;
  EXPECT_TRUE(StillPlan::ParseTime(text, pal, &frame)) << text;
  return frame;
}

TEST(StillPlan, TimesInEveryFormMeanThePictureOnScreenThen) {
  EXPECT_EQ(2502u, Frame("83.5"));        // 83.5 x 30000/1001 = 2502.4
  EXPECT_EQ(2087u, Frame("83.5", true));  // 83.5 x 25 = 2087.5
  EXPECT_EQ(2487u, Frame("1:23"));        // 83 s
  EXPECT_EQ(2487u, Frame("0:01:23"));
  EXPECT_EQ(2502u, Frame("0:01:23.500"));
  EXPECT_EQ(108000u, Frame("1:00:03.6", false));  // 3603.6 x 30000/1001 = 108000 exactly
  EXPECT_EQ(2500u, Frame("f2500"));
  EXPECT_EQ(0u, Frame("0"));
  EXPECT_EQ(29u, Frame("1.0"));  // 29.97: frame 29 is still on screen at 1 s
  EXPECT_EQ(30u, Frame("1.001"));
  for (char const* bad : {"", "x", "-1", "1:2", "1:60", "1:00:60", "1:60:00", "1.2.3", "f",
                          "fx", "1:00:00:00", "1,5", " 1", "1."}) {
    uint32_t frame = 0;
    EXPECT_FALSE(StillPlan::ParseTime(bad, false, &frame)) << '"' << bad << '"';
  }
  std::vector<uint32_t> frames;
  std::string bad;
  EXPECT_TRUE(StillPlan::ParseTimes("1,f10,0:02", false, &frames, &bad));
  EXPECT_EQ((std::vector<uint32_t>{29, 10, 59}), frames);
  EXPECT_FALSE(StillPlan::ParseTimes("1,zz,2", false, &frames, &bad));
  EXPECT_EQ("zz", bad);
}

TEST(StillPlan, EveryNSecondsCountAndChapters) {
  StillTitle const title{900, false, {0, 300, 600}};
  StillPlan plan;
  uint64_t us = 0;
  ASSERT_TRUE(StillPlan::ParseSeconds("5", &us));
  ASSERT_TRUE(plan.Construct(title, StillPlan::kEvery, {}, us, 0));
  std::vector<uint32_t> frames;
  for (auto const& e : plan.Entries()) frames.push_back(e.frame);
  EXPECT_EQ((std::vector<uint32_t>{0, 149, 299, 449, 599, 749, 899}), frames);

  ASSERT_TRUE(plan.Construct(title, StillPlan::kCount, {}, 0, 16));
  ASSERT_EQ(16u, plan.Entries().size());
  for (int i = 0; i < 16; ++i) {
    // round((i + 0.5) x 900 / 16)
    EXPECT_EQ(uint32_t(std::floor((i + 0.5) * 900 / 16 + 0.5)), plan.Entries()[size_t(i)].frame);
    EXPECT_EQ(i + 1, plan.Entries()[size_t(i)].n);
  }
  ASSERT_TRUE(plan.Construct(title, StillPlan::kChapters, {}, 0, 0));
  ASSERT_EQ(3u, plan.Entries().size());
  EXPECT_EQ(300u, plan.Entries()[1].frame);
  EXPECT_EQ(2, plan.Entries()[1].chapter);
  EXPECT_FALSE(plan.Construct(title, StillPlan::kCount, {}, 0, 0));
  EXPECT_FALSE(StillPlan::ParseSeconds("0", &us));
  EXPECT_FALSE(StillPlan::ParseSeconds("-2", &us));
}

TEST(StillPlan, StillsAreTakenInDiscOrderAndThoseOutsideAreReported) {
  StillTitle const title{900, false, {0, 300, 600}};
  StillPlan plan;
  ASSERT_TRUE(plan.Construct(title, StillPlan::kAt, {700, 5, 950, 301}, 0, 0));
  ASSERT_EQ(3u, plan.Entries().size());
  EXPECT_EQ(5u, plan.Entries()[0].frame);
  EXPECT_EQ(2, plan.Entries()[0].n);
  EXPECT_EQ(301u, plan.Entries()[1].frame);
  EXPECT_EQ(4, plan.Entries()[1].n);
  EXPECT_EQ(700u, plan.Entries()[2].frame);
  EXPECT_EQ(3, plan.Entries()[2].chapter);
  ASSERT_EQ(1u, plan.Outside().size());
  EXPECT_EQ(950u, plan.Outside()[0].frame);
}

TEST(StillNames, TimesForFileNamesAndForReading) {
  EXPECT_EQ(QStringLiteral("01-02-03.004"), StillNames::TimeText(3723004));
  EXPECT_EQ(QStringLiteral("01:02:03.004"), StillNames::DurationText(3723004));
  EXPECT_EQ(QStringLiteral("00:00:00.000"), StillNames::DurationText(0));
  EXPECT_EQ(QStringLiteral("1:02:03"), StillNames::ClockText(3723004));
  EXPECT_EQ(QStringLiteral("0:45"), StillNames::ClockText(45999));
}

TEST(StillNames, TemplatesFillTheirFieldsAndRefuseOthers) {
  StillPlace place{QStringLiteral("My:Disc"), 2, 3, 3723004, 111600, 7};
  QString name;
  QString bad;
  ASSERT_TRUE(StillNames::Expand(QStringLiteral("{disc} T{title} C{chapter} {time}"), place, &name, &bad));
  EXPECT_EQ(QStringLiteral("My_Disc T2 C3 01-02-03.004"), name);
  ASSERT_TRUE(StillNames::Expand(QStringLiteral("{n}-{frame}"), place, &name, &bad));
  EXPECT_EQ(QStringLiteral("7-111600"), name);
  EXPECT_FALSE(StillNames::Expand(QStringLiteral("{dics}"), place, &name, &bad));
  EXPECT_EQ(QStringLiteral("{dics}"), bad);
  EXPECT_FALSE(StillNames::Expand(QStringLiteral("a/{n}"), place, &name, &bad));
  EXPECT_FALSE(StillNames::Expand(QStringLiteral(" "), place, &name, &bad));
}

}  // namespace
