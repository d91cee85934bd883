#include "CocoaX_Lib.h"
#include "KitTestSupport.h"
#include "NSAlphaWindow.h"
#include "NSClassRegistry.h"
#include "NSColorWellWithAlpha.h"
#include "NSNibLoader.h"
#include "NSUIColorContentView.h"
#include "NSUILozengeView.h"
#include "NSUIRoundRectView.h"
#include "NSUITransparentWindow.h"
#include "PDFSkinView.h"
#include "PDFSkinWindow.h"
#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QPushButton>

#include <memory>
#include <string>
#include <vector>

namespace {

std::vector<std::string> sAwakeLog;

// Records when the loader wakes it and what it sees then.
class AwakeProbeView : public QWidget, public NSNibAwaking {
 public:
  explicit AwakeProbeView(QWidget* parent = nullptr) : QWidget(parent) {}
  void awakeFromNib() override {
    QWidget const* const w = window();
    sAwakeLog.push_back(objectName().toStdString() + " " + std::to_string(width()) + "x" +
                        std::to_string(height()) + " in " + w->windowTitle().toStdString());
  }
};

void RegisterProbe() { NS_REGISTER_CLASS(AwakeProbeView); }

char const kCocoaXInitLine[] =
    "VERIFY FAILED:  code : \\[%s class\\] in /Code/sdk/CocoaX/CocoaX_Lib:[0-9]+ \\(CocoaX_Init\\)\n";

std::string ExpectedLine(char const* name) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, kCocoaXInitLine, name);
  return buffer;
}

int LineNumber(std::string const& line) {
  auto const colon = line.rfind(':');
  return std::atoi(line.c_str() + colon + 1);
}

char const* const kInitTable[] = {
    "NSColorWellWithAlpha",        "NSColorWellWithoutAlpha",     "NSUIColorContentView",
    "NSUIWhiteOpaqueView",         "NSUIGreyOpaqueView",          "NSUITransparentView",
    "NSUIGreyRoundRectView",       "NSUIGreyStrokedRoundRectView", "NSUIWhiteRoundRectView",
    "NSUITransparentWindow",       "NSUITransparentWindowView",
};

QByteArray const kNib = R"(<?xml version="1.0" encoding="UTF-8"?>
<ui version="4.0">
 <class>AboutBox</class>
 <widget class="PDFSkinAboutBox" name="AboutBox">
  <property name="geometry"><rect><x>0</x><y>0</y><width>200</width><height>120</height></rect></property>
  <property name="windowTitle"><string>About.pdf</string></property>
  <widget class="AwakeProbeView" name="probe">
   <property name="geometry"><rect><x>10</x><y>10</y><width>50</width><height>30</height></rect></property>
  </widget>
  <widget class="NSUIGreyRoundRectView" name="background">
   <property name="geometry"><rect><x>0</x><y>50</y><width>100</width><height>40</height></rect></property>
  </widget>
  <widget class="QPushButton" name="button">
   <property name="geometry"><rect><x>120</x><y>10</y><width>60</width><height>24</height></rect></property>
   <property name="text"><string>OK</string></property>
  </widget>
 </widget>
</ui>
)";

}  // namespace

TEST(NSClassRegistry, EveryKitClassIsRegisteredByName) {
  char const* const names[] = {
      "NSUIColorContentView", "NSUIWhiteOpaqueView", "NSUIGreyOpaqueView", "NSUIMedGreyOpaqueView",
      "NSUIDarkGreyOpaqueView", "NSUIOpaqueBlackView", "NSUITransparentView",
      "NSUIWhiteRoundRectView", "NSUIGreyRoundRectView", "NSUIDarkGreyRoundRectView",
      "NSUIBlackRoundRectView", "NSUIWhiteRoundRectViewCorner10", "NSUIGreyRoundRectViewCorner10",
      "NSUIDarkGreyRoundRectViewCorner10", "NSUIBlackRoundRectViewCorner10",
      "NSUIMedGreyRoundRectViewCorner10", "NSUIWhiteRoundRectTopViewCorner10",
      "NSUIGreyRoundRectTopViewCorner10", "NSUIMedGreyRoundRectTopViewCorner10",
      "NSUIDarkGreyRoundRectTopViewCorner10", "NSUIBlackRoundRectTopViewCorner10",
      "NSUIWhiteRoundRectBottomViewCorner10", "NSUIGreyRoundRectBottomViewCorner10",
      "NSUIMedGreyRoundRectBottomViewCorner10", "NSUIDarkGreyRoundRectBottomViewCorner10",
      "NSUIBlackRoundRectBottomViewCorner10", "NSUIAccentRoundRectView",
      "NSUIAccentRoundRectViewCorner10", "NSUIGreyStrokedRoundRectView", "NSUIBaseLozengeView",
      "NSUIGreyLozengeView", "NSUIMedGreyLozengeView", "NSUIDarkGreyLozengeView",
      "NSUIBlackLozengeView", "NSUIAccentLozengeView", "NSUIGreyCircleView",
      "NSUIDarkGreyCircleView", "NSUIBlackCircleView", "NSUITransparentWindow",
      "NSUITransparentWindowView", "NSAlphaWindowWithShadow", "NSAlphaWindowWithoutShadow",
      "NSAlphaPanelWithShadow", "NSAlphaPanelWithoutShadow", "PDFSkinWindow", "PDFSkinAboutBox",
      "PDFSkinView", "PDFSkinAboutBoxView", "NSColorWellWithAlpha", "NSColorWellWithoutAlpha",
  };
  for (char const* name : names) {
    ASSERT_NE(nullptr, NSClassFromString(name)) << name;
    std::unique_ptr<QWidget> object(NSClassRegistry::Shared().Create(name));
    ASSERT_NE(nullptr, object) << name;
  }
  EXPECT_EQ(nullptr, NSClassFromString("NSUIPurpleView"));
  EXPECT_EQ(nullptr, NSClassRegistry::Shared().Create("NSUIPurpleView"));
}

TEST(NSClassRegistry, FactoriesMakeTheRightClassInitialised) {
  std::unique_ptr<QWidget> lozenge(NSClassRegistry::Shared().Create("NSUIMedGreyLozengeView"));
  auto* const view = dynamic_cast<NSUIMedGreyLozengeView*>(lozenge.get());
  ASSERT_NE(nullptr, view);
  EXPECT_EQ(0.5f, view->viewColorRGB[0]);
  EXPECT_EQ(0.75f, view->alphaOpacity);

  std::unique_ptr<QWidget> about(NSClassRegistry::Shared().Create("PDFSkinAboutBox"));
  ASSERT_NE(nullptr, dynamic_cast<PDFSkinAboutBox*>(about.get()));
  EXPECT_TRUE(about->isWindow());
  EXPECT_TRUE(about->windowFlags().testFlag(Qt::FramelessWindowHint));

  QWidget parent;
  QWidget* const child = NSClassRegistry::Shared().Create("NSUIWhiteOpaqueView", &parent);
  EXPECT_EQ(&parent, child->parentWidget());
}

TEST(NSClassRegistry, RegisterRefusesTakenNamesAndUnregisterGivesBack) {
  NSClassRegistry& registry = NSClassRegistry::Shared();
  EXPECT_FALSE(registry.Register(NSClass{"NSUIWhiteOpaqueView", [](QWidget* p) -> QWidget* {
                                            return new QWidget(p);
                                          }}));
  std::optional<NSClass> removed = registry.Unregister("NSUIGreyOpaqueView");
  ASSERT_TRUE(removed);
  EXPECT_EQ(nullptr, NSClassFromString("NSUIGreyOpaqueView"));
  EXPECT_FALSE(registry.Unregister("NSUIGreyOpaqueView"));
  EXPECT_TRUE(registry.Register(std::move(*removed)));
  EXPECT_NE(nullptr, NSClassFromString("NSUIGreyOpaqueView"));
}

TEST(CocoaX_Init, AllClassesPresentLogsNothing) {
  tavelo_test::LogTail tail;
  EXPECT_TRUE(CocoaX_Init());
  EXPECT_EQ("", tail.Text());
}

TEST(CocoaX_Init, MissingClassIsLoggedAndTheRestChecked) {
  std::optional<NSClass> removed = NSClassRegistry::Shared().Unregister("NSUIWhiteOpaqueView");
  ASSERT_TRUE(removed);
  tavelo_test::LogTail tail;
  bool const result = CocoaX_Init();
  NSClassRegistry::Shared().Register(std::move(*removed));
  EXPECT_TRUE(result);
  EXPECT_THAT(tail.Text(), testing::MatchesRegex(ExpectedLine("NSUIWhiteOpaqueView")));
}

TEST(CocoaX_Init, ChecksTheTableInOrder) {
  std::vector<NSClass> removed;
  for (char const* name : kInitTable) removed.push_back(*NSClassRegistry::Shared().Unregister(name));
  tavelo_test::LogTail tail;
  bool const result = CocoaX_Init();
  for (NSClass& cls : removed) NSClassRegistry::Shared().Register(std::move(cls));
  EXPECT_TRUE(result);
  std::vector<std::string> const lines = tail.Lines();
  ASSERT_EQ(std::size(kInitTable), lines.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    EXPECT_THAT(lines[i] + "\n", testing::MatchesRegex(ExpectedLine(kInitTable[i])));
    if (i > 0) {
      EXPECT_EQ(LineNumber(lines[i - 1]) + 1, LineNumber(lines[i]));
    }
  }
  EXPECT_TRUE(CocoaX_Init());
}

TEST(CocoaX_RegisterClasses, RegistersWhatIsMissingAndKeepsOneOfEach) {
  std::vector<std::string> const before = NSClassRegistry::Shared().Names();
  std::vector<NSClass> removed;
  for (char const* name : kInitTable) removed.push_back(*NSClassRegistry::Shared().Unregister(name));
  for (char const* name : kInitTable) ASSERT_EQ(nullptr, NSClassFromString(name)) << name;
  CocoaX_RegisterClasses();
  CocoaX_RegisterClasses();
  EXPECT_EQ(before, NSClassRegistry::Shared().Names());
  for (char const* name : kInitTable) {
    std::unique_ptr<QWidget> object(NSClassRegistry::Shared().Create(name));
    EXPECT_NE(nullptr, object) << name;
  }
  tavelo_test::LogTail tail;
  EXPECT_TRUE(CocoaX_Init());
  EXPECT_EQ("", tail.Text());
}

TEST(NSNibLoader, CreatesRegisteredClassesAndFallsBackToQt) {
  RegisterProbe();
  sAwakeLog.clear();
  QBuffer buffer;
  buffer.setData(kNib);
  buffer.open(QIODevice::ReadOnly);
  NSNibLoader loader;
  std::unique_ptr<QWidget> root(loader.loadNib(&buffer));
  ASSERT_NE(nullptr, root) << loader.errorString().toStdString();
  EXPECT_NE(nullptr, dynamic_cast<PDFSkinAboutBox*>(root.get()));
  EXPECT_EQ("About.pdf", root->windowTitle().toStdString());
  auto* const background = root->findChild<NSUIGreyRoundRectView*>("background");
  ASSERT_NE(nullptr, background);
  EXPECT_EQ(QRect(0, 50, 100, 40), background->geometry());
  EXPECT_EQ(0.75f, background->viewColorRGB[0]);
  auto* const button = root->findChild<QPushButton*>("button");
  ASSERT_NE(nullptr, button);
  EXPECT_EQ("OK", button->text().toStdString());
  // Woken once, after geometry and the window's title were set.
  EXPECT_EQ(std::vector<std::string>{"probe 50x30 in About.pdf"}, sAwakeLog);
}

TEST(NSNibLoader, LoadsNibByNameFromSearchPath) {
  RegisterProbe();
  std::string const dir = tavelo_test::MakeTempDir("nibs");
  QFile file(QString::fromStdString(dir + "/TestBox.ui"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(kNib);
  file.close();
  QDir::addSearchPath("NSNib", QString::fromStdString(dir));
  NSNibLoader loader;
  std::unique_ptr<QWidget> root(loader.loadNibNamed("TestBox"));
  ASSERT_NE(nullptr, root);
  EXPECT_EQ("AboutBox", root->objectName().toStdString());
  EXPECT_EQ(nullptr, loader.loadNibNamed("NoSuchNib"));
}
