// Menu selector groups: named static lists of action selectors that belong together in a
// menu, either a radio choice (mutex group: one member item checked) or independent check
// marks (toggle group), with their choices kept in the user defaults.
#pragma once

#include "ObjCRuntime.h"

#include <QString>
#include <QStringList>

#include <array>
#include <cstddef>
#include <cstdint>

class QAction;
class QMenu;
class QObject;

struct tagNSUISelectorEntry {
  char const* name;  // e.g. "selectDefault_SaveJPEG:", what the defaults store
  SEL selector;      // interned from name at static initialisation; members compare by it
};

struct tagNSUISelectorGroup {
  std::int32_t kind;  // 1 mutex, 0 toggle
  char const* Name;   // also the defaults key of a mutex group
  tagNSUISelectorEntry const* selectors;  // ended by an entry whose name is null

  bool IsToggleGroup() const { return kind == 0; }
  SEL FirstSelector() const;
  int SelectorCount() const;
  SEL operator[](int selectorIndex) const;  // null (logged) outside the table
  SEL operator[](char const* name) const;   // null when no member has that name
  SEL SelectorFromName(char const* name) const;
  int operator[](SEL selector) const;       // the member's index, -1 when not a member
  bool IsMember(SEL selector) const;
  bool IsMember(char const* name) const;
  char const* NameOfSelector(SEL selector) const;  // null when not a member
};

// A group's member table from the names the defaults store, with their interned selectors,
// ended by the null entry.
template <std::size_t N>
std::array<tagNSUISelectorEntry, N + 1> NSUISelectorTable(char const* const (&names)[N]) {
  std::array<tagNSUISelectorEntry, N + 1> table{};
  for (std::size_t i = 0; i < N; ++i) table[i] = {names[i], sel_registerName(names[i])};
  return table;
}

extern tagNSUISelectorGroup const DefaultCreatorSelectorGroup;
extern tagNSUISelectorGroup const DefaultFolderSelectorGroup;
extern tagNSUISelectorGroup const DefaultFileTypeSelectorGroup;
extern tagNSUISelectorGroup const MyToggleSelectorGroup;
extern tagNSUISelectorGroup const MyMutexSelectorGroup;

// Menu item states.
enum : int { NSOffState = 0, NSOnState = 1 };

// Menu operations. The first item is the one with the lowest index; items whose action is
// not a member of the group are never touched.
namespace NSMenu_NSUISelectorGroup {

int countItemsForSelectorFromSelectorGroup(QMenu* menu, SEL selector,
                                           tagNSUISelectorGroup const& selectorGroup);
bool isOneSelectorPerMenuItem(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
QAction* firstMenuItemWithSelector(QMenu* menu, SEL selector, tagNSUISelectorGroup const& selectorGroup);
QAction* selectedMenuItemFromSelectorGroup(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
SEL selectedMenuItemSelectorFromSelectorGroup(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
QAction* selectMenuItemWithSelector(QMenu* menu, SEL selector, tagNSUISelectorGroup const& selectorGroup);
QAction* selectFirstFromSelectorGroup(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
void selectMenuItem(QMenu* menu, QAction* menuItem, tagNSUISelectorGroup const& selectorGroup);
QAction* selectMenuItemWithMenuText(QMenu* menu, QString const& menuText,
                                    tagNSUISelectorGroup const& selectorGroup);
bool isMenuItemToggleOn(QMenu* menu, SEL withSelector, tagNSUISelectorGroup const& selectorGroup);
void setGroupToggleState(QMenu* menu, int state, tagNSUISelectorGroup const& selectorGroup);
void setMenuItemToggle(QMenu* menu, SEL selector, int state, tagNSUISelectorGroup const& selectorGroup);
void toggleMenuItem(QMenu* menu, QAction* menuItem, tagNSUISelectorGroup const& selectorGroup);
// Queues target->action(item) on the main thread and returns at once.
bool performMenuItemAction(QMenu* menu, QAction* menuItem, tagNSUISelectorGroup const& selectorGroup);

void saveSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
void restoreSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
void restoreSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup,
                                     bool withPerformMenuAction);
void saveMutexSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
void restoreMutexSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup,
                                          bool withPerformMenuAction, SEL defaultSelector);
void saveToggleSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup);
void restoreToggleSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup,
                                           bool withPerformMenuAction);

}  // namespace NSMenu_NSUISelectorGroup

// Menu item operations. An item (QAction) carries its action selector's name in the property
// "action" (e.g. "onPlay:") and its target in the property "target"; its state is its check
// mark.
namespace NSMenuItem_NSUISelectorGroup {

SEL action(QAction const* menuItem);
void setAction(QAction* menuItem, SEL action);
QObject* target(QAction const* menuItem);
void setTarget(QAction* menuItem, QObject* target);
int state(QAction const* menuItem);
void setState(QAction* menuItem, int state);
// The menu the item is in (the first, when it is in several), or null.
QMenu* menu(QAction const* menuItem);

void selectSelfFromSelectorGroup(QAction* self, tagNSUISelectorGroup const& selectorGroup);
void setToggleState(QAction* self, int state, tagNSUISelectorGroup const& selectorGroup);

}  // namespace NSMenuItem_NSUISelectorGroup

// The application's user defaults: organisation and application "Tavelo".
namespace NSUserDefaults_Standard {
QString stringForKey(QString const& key);      // null when absent
long integerForKey(QString const& key);        // 0 when absent
void setString(QString const& value, QString const& key);
void setInteger(long value, QString const& key);
QStringList stringArrayForKey(QString const& key);  // empty when absent
void setStringArray(QStringList const& value, QString const& key);
}  // namespace NSUserDefaults_Standard
