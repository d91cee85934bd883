// What the grab tests share: a fixture that quick-saves into a folder of its own, and a
// look at a bitmap's pixels.
#pragma once

#include <QColor>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

class NSBitmapImageRep;

class GrabControllerTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  QStringList Files() const;

  QString mFolder;
};

namespace tavelo_grab_test {

// The colour of the pixel in the middle of a 24- or 32-bit R, G, B bitmap.
QColor CentreColour(NSBitmapImageRep const& bitmap);

}  // namespace tavelo_grab_test
