#include "NSUISelectorGroup.h"
#include "TestLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAction>
#include <QCoreApplication>
#include <QFile>
#include <QMenu>
#include <QSettings>

#include <string>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using namespace NSMenu_NSUISelectorGroup;
using NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup;
using NSMenuItem_NSUISelectorGroup::setToggleState;

// Records every action it receives, in order, with its sender.
class ActionRecorder : public QObject {
  Q_OBJECT

 public:
  std::vector<std::pair<std::string, QObject*>> mCalls;

 public slots:
  void selectDefault_SaveJPEG(QObject* sender) { mCalls.emplace_back("selectDefault_SaveJPEG:", sender); }
  void selectDefault_SaveTIFF(QObject* sender) { mCalls.emplace_back("selectDefault_SaveTIFF:", sender); }
  void selectDefault_SavePNG(QObject* sender) { mCalls.emplace_back("selectDefault_SavePNG:", sender); }
  void selectDefault_PicturesFolder(QObject* sender) { mCalls.emplace_back("selectDefault_PicturesFolder:", sender); }
  void selectDefault_CreatorPreview(QObject* sender) { mCalls.emplace_back("selectDefault_CreatorPreview:", sender); }
  void copy(QObject* sender) { mCalls.emplace_back("copy:", sender); }
  void paste(QObject* sender) { mCalls.emplace_back("paste:", sender); }
  // Toggle actions flip their own check mark, as the toggle restore expects.
  void save(QObject* sender) { Flip("save:", sender); }
  void saveAs(QObject* sender) { Flip("saveAs:", sender); }

 private:
  void Flip(char const* name, QObject* sender) {
    mCalls.emplace_back(name, sender);
    auto* item = qobject_cast<QAction*>(sender);
    NSMenuItem_NSUISelectorGroup::setState(
        item, NSMenuItem_NSUISelectorGroup::state(item) == NSOnState ? NSOffState : NSOnState);
  }
};

namespace {

std::string GroupLine(std::string const& code, char const* function) {
  return "VERIFY FAILED:  code : " + code + " in /Code/sdk/CocoaX/NSUISelectorGroup:[0-9]+ \\(" +
         function + "\\)";
}

std::vector<std::string> Names(tagNSUISelectorGroup const& group) {
  std::vector<std::string> names;
  for (int i = 0; i < group.SelectorCount(); ++i) names.emplace_back(group.selectors[i].name);
  return names;
}

class SelectorGroupTest : public testing::Test {
 protected:
  void SetUp() override {
    // The defaults live in a fresh folder of this test.
    mSettingsDir = QString::fromStdString(tavelo_test::MakeTempDir("settings"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, mSettingsDir);
    Defaults().clear();
  }

  static std::unique_ptr<QSettings> DefaultsPtr() {
    return std::make_unique<QSettings>(QStringLiteral("Tavelo"), QStringLiteral("Tavelo"));
  }
  QSettings& Defaults() {
    mDefaults = DefaultsPtr();
    return *mDefaults;
  }

  QAction* Add(char const* title, char const* action) {
    QAction* item = mMenu.addAction(QString::fromUtf8(title));
    NSMenuItem_NSUISelectorGroup::setAction(item, sel_registerName(action));
    NSMenuItem_NSUISelectorGroup::setTarget(item, &mRecorder);
    return item;
  }

  // JPEG, TIFF, PNG and, between them, an item that is no member.
  void FileTypeMenu() {
    mJPEG = Add("JPEG", "selectDefault_SaveJPEG:");
    mOther = Add("Other", "selectDefault_CreatoriPhoto:");
    mTIFF = Add("TIFF", "selectDefault_SaveTIFF:");
    mPNG = Add("PNG", "selectDefault_SavePNG:");
    NSMenuItem_NSUISelectorGroup::setState(mOther, NSOnState);
  }

  std::vector<int> States(std::vector<QAction*> const& items) {
    std::vector<int> states;
    for (QAction* item : items) states.push_back(NSMenuItem_NSUISelectorGroup::state(item));
    return states;
  }

  void RunQueued() { QCoreApplication::processEvents(); }

  QString mSettingsDir;
  std::unique_ptr<QSettings> mDefaults;
  ActionRecorder mRecorder;
  QMenu mMenu;
  QAction* mJPEG = nullptr;
  QAction* mOther = nullptr;
  QAction* mTIFF = nullptr;
  QAction* mPNG = nullptr;
};

TEST(Selectors, AreInternedNames) {
  SEL const a = sel_registerName("selectDefault_SaveJPEG:");
  std::string const copy = "selectDefault_SaveJPEG:";
  EXPECT_EQ(sel_registerName(copy.c_str()), a);
  EXPECT_EQ(sel_getUid("selectDefault_SaveJPEG:"), a);
  EXPECT_NE(sel_registerName("selectDefault_SaveJPEG"), a);  // the colon is part of the name
  EXPECT_STREQ(sel_getName(a), "selectDefault_SaveJPEG:");
  EXPECT_EQ(sel_registerName(nullptr), nullptr);
  EXPECT_STREQ(sel_getName(nullptr), "<null selector>");
}

TEST(SelectorGroupTables, TheFiveGroups) {
  EXPECT_EQ(DefaultCreatorSelectorGroup.kind, 1);
  EXPECT_STREQ(DefaultCreatorSelectorGroup.Name, "DefaultCreatorSelectorGroup");
  EXPECT_THAT(Names(DefaultCreatorSelectorGroup),
              ElementsAre("selectDefault_CreatorPreview:", "selectDefault_CreatorQuickTime:",
                          "selectDefault_CreatorPhotoShop:"));
  EXPECT_STREQ(DefaultFolderSelectorGroup.Name, "DefaultFolderSelectorGroup");
  EXPECT_THAT(Names(DefaultFolderSelectorGroup),
              ElementsAre("selectDefault_PicturesFolder:", "selectDefault_DesktopFolder:",
                          "selectDefault_DocumentsFolder:"));
  EXPECT_STREQ(DefaultFileTypeSelectorGroup.Name, "DefaultFileTypeSelectorGroup");
  EXPECT_THAT(Names(DefaultFileTypeSelectorGroup),
              ElementsAre("selectDefault_SaveJPEG:", "selectDefault_SaveTIFF:", "selectDefault_SavePNG:"));
  EXPECT_EQ(MyToggleSelectorGroup.kind, 0);
  EXPECT_TRUE(MyToggleSelectorGroup.IsToggleGroup());
  EXPECT_STREQ(MyToggleSelectorGroup.Name, "MyToggleSelectorGroup");
  EXPECT_THAT(Names(MyToggleSelectorGroup), ElementsAre("save:", "saveAs:"));
  EXPECT_EQ(MyMutexSelectorGroup.kind, 1);
  EXPECT_FALSE(MyMutexSelectorGroup.IsToggleGroup());
  EXPECT_THAT(Names(MyMutexSelectorGroup), ElementsAre("copy:", "paste:"));
  // Entries carry the selectors registered from their names.
  EXPECT_EQ(DefaultFileTypeSelectorGroup.selectors[2].selector, sel_registerName("selectDefault_SavePNG:"));
  EXPECT_EQ(DefaultFileTypeSelectorGroup.selectors[3].name, nullptr);
}

TEST(SelectorGroupTables, Lookups) {
  tagNSUISelectorGroup const& g = DefaultFileTypeSelectorGroup;
  SEL const tiff = sel_registerName("selectDefault_SaveTIFF:");
  EXPECT_EQ(g.SelectorCount(), 3);
  EXPECT_EQ(g.FirstSelector(), sel_registerName("selectDefault_SaveJPEG:"));
  EXPECT_EQ(g[1], tiff);
  EXPECT_EQ(g["selectDefault_SaveTIFF:"], tiff);
  EXPECT_EQ(g.SelectorFromName("selectDefault_SaveTIFF:"), tiff);
  EXPECT_EQ(g.SelectorFromName("selectDefault_SaveGIF:"), nullptr);
  EXPECT_EQ(g[tiff], 1);
  EXPECT_EQ(g[sel_registerName("copy:")], -1);
  EXPECT_TRUE(g.IsMember(tiff));
  EXPECT_TRUE(g.IsMember("selectDefault_SavePNG:"));
  EXPECT_FALSE(g.IsMember("copy:"));
  EXPECT_FALSE(g.IsMember(static_cast<SEL>(nullptr)));

  tavelo_test::LogTail tail;
  EXPECT_EQ(g[3], nullptr);
  tagNSUISelectorEntry const none[] = {{nullptr, nullptr}};
  tagNSUISelectorGroup const empty = {1, "Empty", none};
  EXPECT_EQ(empty[0], nullptr);
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex(GroupLine("selectorIndex<selectorCount", "tagNSUISelectorGroup::operator\\[\\]")),
                          MatchesRegex(GroupLine("selectorCount>0", "tagNSUISelectorGroup::operator\\[\\]"))));
}

TEST_F(SelectorGroupTest, SelectingBySelectorLeavesOtherItemsAlone) {
  FileTypeMenu();
  SEL const tiff = sel_registerName("selectDefault_SaveTIFF:");
  EXPECT_EQ(selectMenuItemWithSelector(&mMenu, tiff, DefaultFileTypeSelectorGroup), mTIFF);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{0, 1, 1, 0}));
  EXPECT_EQ(selectedMenuItemFromSelectorGroup(&mMenu, DefaultFileTypeSelectorGroup), mTIFF);
  EXPECT_EQ(selectedMenuItemSelectorFromSelectorGroup(&mMenu, DefaultFileTypeSelectorGroup), tiff);
  EXPECT_EQ(selectFirstFromSelectorGroup(&mMenu, DefaultFileTypeSelectorGroup), mJPEG);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{1, 1, 0, 0}));
  EXPECT_EQ(countItemsForSelectorFromSelectorGroup(&mMenu, tiff, DefaultFileTypeSelectorGroup), 1);
  EXPECT_EQ(firstMenuItemWithSelector(&mMenu, tiff, DefaultFileTypeSelectorGroup), mTIFF);
  // A selector that is no member turns every member off and selects nothing.
  EXPECT_EQ(selectMenuItemWithSelector(&mMenu, sel_registerName("selectDefault_CreatoriPhoto:"),
                                       DefaultFileTypeSelectorGroup),
            nullptr);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{0, 1, 0, 0}));
  EXPECT_EQ(selectedMenuItemFromSelectorGroup(&mMenu, DefaultFileTypeSelectorGroup), nullptr);
}

TEST_F(SelectorGroupTest, OneSelectorPerMenuItem) {
  FileTypeMenu();
  tavelo_test::LogTail tail;
  EXPECT_TRUE(isOneSelectorPerMenuItem(&mMenu, DefaultFileTypeSelectorGroup));
  QAction* second = Add("PNG again", "selectDefault_SavePNG:");
  EXPECT_FALSE(isOneSelectorPerMenuItem(&mMenu, DefaultFileTypeSelectorGroup));
  EXPECT_THAT(tail.Lines(), IsEmpty());
  mMenu.removeAction(second);
  mMenu.removeAction(mTIFF);
  EXPECT_FALSE(isOneSelectorPerMenuItem(&mMenu, DefaultFileTypeSelectorGroup));
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(GroupLine(
                                "itemCountForThisSelector", "NSMenu_NSUISelectorGroup::isOneSelectorPerMenuItem"))));
}

TEST_F(SelectorGroupTest, SelectingAnItemWhoseActionIsShared) {
  FileTypeMenu();
  QAction* png2 = Add("PNG 2", "selectDefault_SavePNG:");
  selectMenuItem(&mMenu, png2, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG, png2}), (std::vector<int>{0, 1, 0, 0, 1}));
  // With one item for the action the action decides.
  selectMenuItem(&mMenu, mTIFF, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG, png2}), (std::vector<int>{0, 1, 1, 0, 0}));
  tavelo_test::LogTail tail;
  selectMenuItem(&mMenu, mOther, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG, png2}), (std::vector<int>{0, 1, 1, 0, 0}));
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(GroupLine(
                                "selectorGroup.IsMember\\(theMenuItemAction\\)", "NSMenu_NSUISelectorGroup::selectMenuItem"))));
}

TEST_F(SelectorGroupTest, SelectingByMenuText) {
  FileTypeMenu();
  QAction* untitled = Add("", "selectDefault_SaveJPEG:");
  NSMenuItem_NSUISelectorGroup::setState(mJPEG, NSOnState);
  tavelo_test::LogTail tail;
  EXPECT_EQ(selectMenuItemWithMenuText(&mMenu, QStringLiteral("PNG"), DefaultFileTypeSelectorGroup), mPNG);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG, untitled}), (std::vector<int>{0, 1, 0, 1, 0}));
  EXPECT_THAT(tail.Lines(), ElementsAre(MatchesRegex(GroupLine(
                                "menuItem_N_Title", "NSMenu_NSUISelectorGroup::selectMenuItemWithMenuText"))));
  // Case matters.
  EXPECT_EQ(selectMenuItemWithMenuText(&mMenu, QStringLiteral("png"), DefaultFileTypeSelectorGroup), nullptr);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{0, 1, 0, 0}));
}

TEST_F(SelectorGroupTest, ToggleGroupOperations) {
  QAction* save = Add("Save", "save:");
  QAction* saveAs = Add("Save As", "saveAs:");
  QAction* copy = Add("Copy", "copy:");
  SEL const saveSel = sel_registerName("save:");
  toggleMenuItem(&mMenu, save, MyToggleSelectorGroup);
  EXPECT_EQ(States({save, saveAs, copy}), (std::vector<int>{1, 0, 0}));
  EXPECT_TRUE(isMenuItemToggleOn(&mMenu, saveSel, MyToggleSelectorGroup));
  toggleMenuItem(&mMenu, save, MyToggleSelectorGroup);
  EXPECT_FALSE(isMenuItemToggleOn(&mMenu, saveSel, MyToggleSelectorGroup));
  setGroupToggleState(&mMenu, NSOnState, MyToggleSelectorGroup);
  EXPECT_EQ(States({save, saveAs, copy}), (std::vector<int>{1, 1, 0}));
  setMenuItemToggle(&mMenu, sel_registerName("saveAs:"), NSOffState, MyToggleSelectorGroup);
  EXPECT_EQ(States({save, saveAs, copy}), (std::vector<int>{1, 0, 0}));
  setToggleState(saveAs, NSOnState, MyToggleSelectorGroup);
  EXPECT_EQ(States({save, saveAs, copy}), (std::vector<int>{1, 1, 0}));
  selectSelfFromSelectorGroup(save, MyToggleSelectorGroup);
  EXPECT_EQ(States({save, saveAs, copy}), (std::vector<int>{0, 1, 0}));

  tavelo_test::LogTail tail;
  toggleMenuItem(&mMenu, copy, MyMutexSelectorGroup);
  toggleMenuItem(&mMenu, copy, MyToggleSelectorGroup);
  setToggleState(copy, NSOnState, MyMutexSelectorGroup);
  EXPECT_FALSE(isMenuItemToggleOn(&mMenu, sel_registerName("copy:"), MyToggleSelectorGroup));
  setMenuItemToggle(&mMenu, sel_registerName("paste:"), NSOnState, MyMutexSelectorGroup);
  EXPECT_EQ(States({save, saveAs, copy}), (std::vector<int>{0, 1, 0}));
  EXPECT_THAT(
      tail.Lines(),
      ElementsAre(
          MatchesRegex(GroupLine("selectorGroup.IsToggleGroup\\(\\)", "NSMenu_NSUISelectorGroup::toggleMenuItem")),
          MatchesRegex(GroupLine("selectorGroup.IsMember\\(theMenuItemAction\\)",
                                 "NSMenu_NSUISelectorGroup::toggleMenuItem")),
          MatchesRegex(GroupLine("selectorGroup.IsToggleGroup\\(\\)",
                                 "NSMenuItem_NSUISelectorGroup::setToggleState")),
          MatchesRegex(GroupLine("selectorGroup.IsMember\\(withSelector\\)",
                                 "NSMenu_NSUISelectorGroup::isMenuItemToggleOn")),
          MatchesRegex(GroupLine("menuItem", "NSMenu_NSUISelectorGroup::setMenuItemToggle"))));
}

TEST_F(SelectorGroupTest, SelectSelfInAMutexGroup) {
  FileTypeMenu();
  selectSelfFromSelectorGroup(mPNG, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{0, 1, 0, 1}));
  // Two items with one action: only the chosen one is checked.
  QAction* tiff2 = Add("TIFF 2", "selectDefault_SaveTIFF:");
  selectSelfFromSelectorGroup(tiff2, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG, tiff2}), (std::vector<int>{0, 1, 0, 0, 1}));

  tavelo_test::LogTail tail;
  QAction loose(QStringLiteral("Loose"));
  NSMenuItem_NSUISelectorGroup::setAction(&loose, sel_registerName("selectDefault_SaveJPEG:"));
  selectSelfFromSelectorGroup(&loose, DefaultFileTypeSelectorGroup);
  selectSelfFromSelectorGroup(nullptr, DefaultFileTypeSelectorGroup);
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex(GroupLine("menu", "NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup")),
                          MatchesRegex(GroupLine("self", "NSMenuItem_NSUISelectorGroup::selectSelfFromSelectorGroup"))));
}

// An action outside the creator group's table (iPhoto) unchecks the members without
// checking itself, and saving then keeps the stored choice.
TEST_F(SelectorGroupTest, ANonMemberActionClearsTheGroupAndSavingKeepsTheOldChoice) {
  QAction* preview = Add("Preview", "selectDefault_CreatorPreview:");
  QAction* quickTime = Add("QuickTime", "selectDefault_CreatorQuickTime:");
  QAction* photoshop = Add("Photoshop", "selectDefault_CreatorPhotoShop:");
  QAction* iPhoto = Add("iPhoto", "selectDefault_CreatoriPhoto:");
  selectSelfFromSelectorGroup(photoshop, DefaultCreatorSelectorGroup);
  saveSelectorGroupPreferences(&mMenu, DefaultCreatorSelectorGroup);
  selectSelfFromSelectorGroup(iPhoto, DefaultCreatorSelectorGroup);
  EXPECT_EQ(States({preview, quickTime, photoshop, iPhoto}), (std::vector<int>{0, 0, 0, 0}));
  saveSelectorGroupPreferences(&mMenu, DefaultCreatorSelectorGroup);
  EXPECT_EQ(Defaults().value("DefaultCreatorSelectorGroup").toString(),
            QStringLiteral("selectDefault_CreatorPhotoShop:"));
}

TEST_F(SelectorGroupTest, PerformIsQueuedOnTheMainThread) {
  FileTypeMenu();
  EXPECT_TRUE(performMenuItemAction(&mMenu, mPNG, DefaultFileTypeSelectorGroup));
  EXPECT_TRUE(mRecorder.mCalls.empty());  // not before the current event is done
  RunQueued();
  ASSERT_EQ(mRecorder.mCalls.size(), 1u);
  EXPECT_EQ(mRecorder.mCalls[0].first, "selectDefault_SavePNG:");
  EXPECT_EQ(mRecorder.mCalls[0].second, mPNG);

  tavelo_test::LogTail tail;
  NSMenuItem_NSUISelectorGroup::setTarget(mTIFF, nullptr);
  EXPECT_FALSE(performMenuItemAction(&mMenu, mTIFF, DefaultFileTypeSelectorGroup));
  EXPECT_FALSE(performMenuItemAction(&mMenu, mOther, DefaultFileTypeSelectorGroup));
  EXPECT_FALSE(performMenuItemAction(&mMenu, nullptr, DefaultFileTypeSelectorGroup));
  RunQueued();
  EXPECT_EQ(mRecorder.mCalls.size(), 1u);
  char const* const fn = "NSMenu_NSUISelectorGroup::performMenuItemAction";
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex(GroupLine("menuItemTarget", fn)),
                          MatchesRegex(GroupLine("selectorGroup.IsMember\\(\\[menuItem action\\]\\)", fn)),
                          MatchesRegex(GroupLine("menuItem", fn))));
}

TEST_F(SelectorGroupTest, SaveWritesTheSelectorNameUnderTheGroupName) {
  FileTypeMenu();
  saveSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup);  // nothing selected
  EXPECT_FALSE(Defaults().contains("DefaultFileTypeSelectorGroup"));
  selectSelfFromSelectorGroup(mPNG, DefaultFileTypeSelectorGroup);
  saveSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup);
  QSettings& d = Defaults();
  EXPECT_EQ(d.value("DefaultFileTypeSelectorGroup").toString(), QStringLiteral("selectDefault_SavePNG:"));
  EXPECT_EQ(d.allKeys(), QStringList{QStringLiteral("DefaultFileTypeSelectorGroup")});
  // The file is the application's defaults, under the folder set for this test.
  EXPECT_TRUE(d.fileName().startsWith(mSettingsDir));
  EXPECT_TRUE(QFile::exists(d.fileName()));
}

TEST_F(SelectorGroupTest, NoStoredValueChecksAndPerformsTheFirstMember) {
  QMenu& m = mMenu;
  QAction* jpeg = Add("JPEG", "selectDefault_SaveJPEG:");
  Add("TIFF", "selectDefault_SaveTIFF:");
  QAction* pictures = Add("Pictures", "selectDefault_PicturesFolder:");
  Add("Desktop", "selectDefault_DesktopFolder:");
  QAction* preview = Add("Preview", "selectDefault_CreatorPreview:");
  Add("QuickTime", "selectDefault_CreatorQuickTime:");
  restoreSelectorGroupPreferences(&m, DefaultFileTypeSelectorGroup);
  restoreSelectorGroupPreferences(&m, DefaultFolderSelectorGroup);
  restoreSelectorGroupPreferences(&m, DefaultCreatorSelectorGroup);
  EXPECT_EQ(States({jpeg, pictures, preview}), (std::vector<int>{1, 1, 1}));
  EXPECT_TRUE(mRecorder.mCalls.empty());
  RunQueued();
  ASSERT_EQ(mRecorder.mCalls.size(), 3u);
  EXPECT_EQ(mRecorder.mCalls[0], std::make_pair(std::string("selectDefault_SaveJPEG:"), static_cast<QObject*>(jpeg)));
  EXPECT_EQ(mRecorder.mCalls[1], std::make_pair(std::string("selectDefault_PicturesFolder:"), static_cast<QObject*>(pictures)));
  EXPECT_EQ(mRecorder.mCalls[2], std::make_pair(std::string("selectDefault_CreatorPreview:"), static_cast<QObject*>(preview)));
  // Nothing was written by restoring.
  EXPECT_TRUE(Defaults().allKeys().isEmpty());
}

TEST_F(SelectorGroupTest, RestoreWithoutPerformAndWithADefaultSelector) {
  FileTypeMenu();
  restoreMutexSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup, false,
                                       sel_registerName("selectDefault_SavePNG:"));
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{0, 1, 0, 1}));
  RunQueued();
  EXPECT_TRUE(mRecorder.mCalls.empty());
}

TEST_F(SelectorGroupTest, StoredSelectorIsSelectedAndPerformedOnce) {
  FileTypeMenu();
  Defaults().setValue("DefaultFileTypeSelectorGroup", "selectDefault_SaveTIFF:");
  mDefaults->sync();
  restoreSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{0, 1, 1, 0}));
  RunQueued();
  ASSERT_EQ(mRecorder.mCalls.size(), 1u);
  EXPECT_EQ(mRecorder.mCalls[0].first, "selectDefault_SaveTIFF:");
  // Already the checked item: not performed again.
  restoreSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup);
  RunQueued();
  EXPECT_EQ(mRecorder.mCalls.size(), 1u);
}

TEST_F(SelectorGroupTest, StoredNameOfNoMemberOrNoItemSelectsAndPerformsNothing) {
  FileTypeMenu();
  for (char const* stored : {"selectDefault_SaveGIF:", "GIF picture"}) {
    Defaults().setValue("DefaultFileTypeSelectorGroup", stored);
    mDefaults->sync();
    tavelo_test::LogTail tail;
    restoreSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup);
    RunQueued();
    EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG}), (std::vector<int>{0, 1, 0, 0})) << stored;
    EXPECT_TRUE(mRecorder.mCalls.empty()) << stored;
    EXPECT_THAT(tail.Lines(), IsEmpty()) << stored;
  }
}

TEST_F(SelectorGroupTest, SharedActionIsSavedAndRestoredByTitle) {
  FileTypeMenu();
  QAction* png2 = Add("PNG (small)", "selectDefault_SavePNG:");
  selectSelfFromSelectorGroup(png2, DefaultFileTypeSelectorGroup);
  saveSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(Defaults().value("DefaultFileTypeSelectorGroup").toString(), QStringLiteral("PNG (small)"));

  selectSelfFromSelectorGroup(mJPEG, DefaultFileTypeSelectorGroup);
  restoreSelectorGroupPreferences(&mMenu, DefaultFileTypeSelectorGroup);
  EXPECT_EQ(States({mJPEG, mOther, mTIFF, mPNG, png2}), (std::vector<int>{0, 1, 0, 0, 1}));
  RunQueued();
  ASSERT_EQ(mRecorder.mCalls.size(), 1u);
  EXPECT_EQ(mRecorder.mCalls[0].first, "selectDefault_SavePNG:");
  EXPECT_EQ(mRecorder.mCalls[0].second, png2);
}

TEST_F(SelectorGroupTest, ToggleGroupSavesIntegersPerSelector) {
  QAction* save = Add("Save", "save:");
  QAction* saveAs = Add("Save As", "saveAs:");
  NSMenuItem_NSUISelectorGroup::setState(saveAs, NSOnState);
  saveSelectorGroupPreferences(&mMenu, MyToggleSelectorGroup);
  QSettings& d = Defaults();
  EXPECT_EQ(d.value("save:").toInt(), 0);
  EXPECT_EQ(d.value("saveAs:").toInt(), 1);
  QStringList keys = d.allKeys();
  keys.sort();
  EXPECT_EQ(keys, (QStringList{QStringLiteral("save:"), QStringLiteral("saveAs:")}));
  EXPECT_EQ(States({save, saveAs}), (std::vector<int>{0, 1}));
}

TEST_F(SelectorGroupTest, ToggleRestorePerformsOnlyWhatDiffers) {
  QAction* save = Add("Save", "save:");
  QAction* saveAs = Add("Save As", "saveAs:");
  Defaults().setValue("save:", 1);
  mDefaults->setValue("saveAs:", 0);
  mDefaults->sync();
  // Equal states: nothing is performed.
  NSMenuItem_NSUISelectorGroup::setState(save, NSOnState);
  restoreSelectorGroupPreferences(&mMenu, MyToggleSelectorGroup);
  RunQueued();
  EXPECT_TRUE(mRecorder.mCalls.empty());
  // A differing one is performed, and its action flips the mark.
  NSMenuItem_NSUISelectorGroup::setState(save, NSOffState);
  restoreSelectorGroupPreferences(&mMenu, MyToggleSelectorGroup);
  EXPECT_EQ(States({save, saveAs}), (std::vector<int>{0, 0}));
  RunQueued();
  ASSERT_EQ(mRecorder.mCalls.size(), 1u);
  EXPECT_EQ(mRecorder.mCalls[0].first, "save:");
  EXPECT_EQ(States({save, saveAs}), (std::vector<int>{1, 0}));
  // Without performing, the stored state is set directly.
  NSMenuItem_NSUISelectorGroup::setState(saveAs, NSOnState);
  restoreSelectorGroupPreferences(&mMenu, MyToggleSelectorGroup, false);
  EXPECT_EQ(States({save, saveAs}), (std::vector<int>{1, 0}));
  RunQueued();
  EXPECT_EQ(mRecorder.mCalls.size(), 1u);
}

TEST_F(SelectorGroupTest, ToggleRestoreWithAMissingItemLogs) {
  Add("Save", "save:");
  tavelo_test::LogTail tail;
  restoreSelectorGroupPreferences(&mMenu, MyToggleSelectorGroup, false);
  saveSelectorGroupPreferences(&mMenu, MyToggleSelectorGroup);
  EXPECT_THAT(tail.Lines(),
              ElementsAre(MatchesRegex(GroupLine("firstMenuItemWithSelector",
                                                 "NSMenu_NSUISelectorGroup::restoreToggleSelectorGroupPreferences")),
                          MatchesRegex(GroupLine("firstMenuItemWithSelector",
                                                 "NSMenu_NSUISelectorGroup::saveToggleSelectorGroupPreferences"))));
  EXPECT_EQ(Defaults().allKeys(), QStringList{QStringLiteral("save:")});
}

}  // namespace

#include "NSUISelectorGroupTest.moc"
