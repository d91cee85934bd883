#include <QTest>
#include <gtest/gtest.h>

#include "PlaybackTime.h"

TEST(PlaybackTime, ElapsedHoursMinutesSeconds) {
  EXPECT_EQ(PlaybackTime::FormatTime(0, 3723400, 0), QStringLiteral("01:02:03"));
}

TEST(PlaybackTime, RoundsToWholeSeconds) {
  EXPECT_EQ(PlaybackTime::FormatTime(0, 1499, 0), QStringLiteral("00:00:01"));
  EXPECT_EQ(PlaybackTime::FormatTime(0, 1500, 0), QStringLiteral("00:00:02"));
}

TEST(PlaybackTime, HoursAreNotLimitedToTwoDigits) {
  EXPECT_EQ(PlaybackTime::FormatTime(0, 100 * 3600 * 1000, 0), QStringLiteral("100:00:00"));
}

TEST(PlaybackTime, ClickSwitchesBetweenElapsedAndRemaining) {
  PlaybackTime field;
  EXPECT_EQ(field.timeBase, 0);
  field.setTimeElapsed(61000, 3600000 - 61000);
  EXPECT_EQ(field.text(), QStringLiteral("00:01:01"));
  QTest::mouseClick(&field, Qt::LeftButton);
  EXPECT_EQ(field.timeBase, 1);
  EXPECT_EQ(field.text(), QStringLiteral("-00:58:59"));
  QTest::mouseClick(&field, Qt::LeftButton);
  EXPECT_EQ(field.timeBase, 0);
  EXPECT_EQ(field.text(), QStringLiteral("00:01:01"));
}

TEST(PlaybackTime, ZeroInRemainingModeShowsMinusZero) {
  PlaybackTime field;
  QTest::mouseClick(&field, Qt::LeftButton);
  field.setTimeElapsed(0, 0);
  EXPECT_EQ(field.text(), QStringLiteral("-00:00:00"));
}

TEST(PlaybackTime, NegativeRemainingTimesAreNotGuarded) {
  EXPECT_EQ(PlaybackTime::FormatTime(1, 0, -600), QStringLiteral("-00:00:00"));
  EXPECT_EQ(PlaybackTime::FormatTime(1, 0, -1600), QStringLiteral("-1193046:28:15"));
}

TEST(PlaybackTime, ModeSurvivesNewTimes) {
  PlaybackTime field;
  QTest::mouseClick(&field, Qt::LeftButton);
  field.setTimeElapsed(1000, 2000);
  EXPECT_EQ(field.text(), QStringLiteral("-00:00:02"));
  field.setTimeElapsed(0, 0);
  EXPECT_EQ(field.text(), QStringLiteral("-00:00:00"));
}
