#include "KitTestSupport.h"
#include "NSClassRegistry.h"
#include "NSColorWellWithAlpha.h"
#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QColorDialog>

#include <memory>

using namespace AlphaHandling;

namespace {

constexpr float kEps = 1.0f / 65535.0f;

std::string LogLine(char const* function) {
  return std::string("VERIFY FAILED:  code : currentRGB in /Code/sdk/CocoaX/NSColorWellWithAlpha:[0-9]+ \\(AlphaHandling::") +
         function + "\\)\n";
}

void ExpectColor(color_4D c, float r, float g, float b, float a) {
  EXPECT_NEAR(r, c.red, kEps);
  EXPECT_NEAR(g, c.green, kEps);
  EXPECT_NEAR(b, c.blue, kEps);
  EXPECT_NEAR(a, c.alpha, kEps);
}

}  // namespace

TEST(NSColorWellWithAlpha, RedBlueGreenAlphaOrder) {
  NSColorWell well;
  EXPECT_TRUE(setColorRedBlueGreenAlpha(&well, 1.0f, 0.25f, 0.5f, 0.8f));
  ExpectColor(getColor4D(&well), 1.0f, 0.5f, 0.25f, 0.8f);
}

TEST(NSColorWellWithAlpha, SetAlphaOnOpaqueRed) {
  NSColorWell well;
  setColor3DOpaque(&well, {1.0f, 0.0f, 0.0f});
  EXPECT_TRUE(setColorAlpha(&well, 0.5f));
  ExpectColor(getColor4D(&well), 1.0f, 0.0f, 0.0f, 0.5f);
  EXPECT_NEAR(0.5f, getColorAlpha(&well), kEps);
}

TEST(NSColorWellWithAlpha, PatternColourHasNoRGB) {
  NSColorWell well;
  well.setColor(QBrush(Qt::red, Qt::Dense4Pattern));
  tavelo_test::LogTail tail;
  ExpectColor(getColor4D(&well), 0.0f, 0.0f, 0.0f, 1.0f);
  EXPECT_FALSE(setColorAlpha(&well, 0.5f));
  setColorPreserveAlpha(&well, QColor(0, 255, 0));
  EXPECT_EQ(Qt::Dense4Pattern, well.color().style());
  std::vector<std::string> const lines = tail.Lines();
  ASSERT_EQ(3u, lines.size());
  EXPECT_THAT(lines[0] + "\n", testing::MatchesRegex(LogLine("getColor4D")));
  EXPECT_THAT(lines[1] + "\n", testing::MatchesRegex(LogLine("setColorAlpha")));
  EXPECT_THAT(lines[2] + "\n", testing::MatchesRegex(LogLine("setColorPreserveAlpha")));
}

TEST(NSColorWellWithAlpha, ColorWithoutAlphaIsOpaque) {
  NSColorWell well;
  setColor4D(&well, {0.2f, 0.4f, 0.6f, 0.5f});
  QColor const opaque = colorWithoutAlpha(&well);
  EXPECT_NEAR(0.2, opaque.redF(), kEps);
  EXPECT_NEAR(0.4, opaque.greenF(), kEps);
  EXPECT_NEAR(0.6, opaque.blueF(), kEps);
  EXPECT_EQ(1.0, opaque.alphaF());
  QColor const withAlpha = colorWithAlpha(&well);
  EXPECT_NEAR(0.5, withAlpha.alphaF(), kEps);
  EXPECT_EQ(QColor::Rgb, withAlpha.spec());
  color_3D const c3 = getColor3DOpaque(&well);
  EXPECT_NEAR(0.6f, c3.blue, kEps);
}

TEST(NSColorWellWithAlpha, PreserveAlphaKeepsOpacity) {
  NSColorWell well;
  setColor4D(&well, {0.0f, 0.0f, 0.0f, 0.3f});
  setColor3DPreserveAlpha(&well, {0.1f, 0.2f, 0.3f});
  ExpectColor(getColor4D(&well), 0.1f, 0.2f, 0.3f, 0.3f);
  setColorPreserveAlpha(&well, QColor::fromRgbF(0.9f, 0.8f, 0.7f, 1.0f));
  ExpectColor(getColor4D(&well), 0.9f, 0.8f, 0.7f, 0.3f);
  setColor3D(&well, {0.5f, 0.5f, 0.5f});
  ExpectColor(getColor4D(&well), 0.5f, 0.5f, 0.5f, 1.0f);
}

TEST(NSColorWellWithAlpha, NonRGBColourIsConverted) {
  NSColorWell well;
  well.setColor(QColor::fromHsvF(0.0f, 1.0f, 1.0f));
  ExpectColor(getColor4D(&well), 1.0f, 0.0f, 0.0f, 1.0f);
}

TEST(NSColorWellWithAlpha, ActivationSwitchesThePanelsOpacityControl) {
  std::unique_ptr<QWidget> withAlphaObject(NSClassRegistry::Shared().Create("NSColorWellWithAlpha"));
  std::unique_ptr<QWidget> withoutAlphaObject(NSClassRegistry::Shared().Create("NSColorWellWithoutAlpha"));
  auto* const withAlpha = dynamic_cast<NSColorWellWithAlpha*>(withAlphaObject.get());
  auto* const withoutAlpha = dynamic_cast<NSColorWellWithoutAlpha*>(withoutAlphaObject.get());
  ASSERT_TRUE(withAlpha && withoutAlpha);

  setColor4D(withAlpha, {0.0f, 0.0f, 1.0f, 0.5f});
  withAlpha->activate(true);
  EXPECT_TRUE(NSColorPanel::showsAlpha());
  EXPECT_TRUE(NSColorPanel::sharedColorPanel()->isVisible());
  EXPECT_EQ(withAlpha, NSColorWell::activeWell());
  // The panel starts from the well's colour and did not write it back changed.
  EXPECT_EQ(QColor::fromRgbF(0.0f, 0.0f, 1.0f, 0.5f).rgba(), NSColorPanel::sharedColorPanel()->currentColor().rgba());
  EXPECT_NEAR(0.5f, getColorAlpha(withAlpha), kEps);

  withoutAlpha->activate(true);
  EXPECT_FALSE(NSColorPanel::showsAlpha());
  EXPECT_FALSE(withAlpha->isActive());
  EXPECT_TRUE(withoutAlpha->isActive());

  // Colours picked in the panel go to the active well only.
  NSColorPanel::sharedColorPanel()->setCurrentColor(QColor(0, 255, 0));
  EXPECT_EQ(QColor(0, 255, 0), withoutAlpha->color().color());
  EXPECT_NEAR(0.0f, getColor4D(withAlpha).green, kEps);
  NSColorPanel::sharedColorPanel()->hide();
  withoutAlpha->deactivate();
  EXPECT_EQ(nullptr, NSColorWell::activeWell());
}
