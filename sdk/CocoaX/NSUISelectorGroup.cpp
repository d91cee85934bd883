#include "NSUISelectorGroup.h"

#include "CocoaX_Verify.h"
#include "CoreMachDebugLog.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>
#include <QMetaObject>
#include <QPointer>
#include <QSettings>
#include <QVariant>

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>

// ---- the tables ----

namespace {

auto const kDefaultCreatorSelectors = NSUISelectorTable({"selectDefault_CreatorPreview:",
                                             "selectDefault_CreatorQuickTime:",
                                             "selectDefault_CreatorPhotoShop:"});
auto const kDefaultFolderSelectors = NSUISelectorTable({"selectDefault_PicturesFolder:",
                                            "selectDefault_DesktopFolder:",
                                            "selectDefault_DocumentsFolder:"});
auto const kDefaultFileTypeSelectors = NSUISelectorTable(
    {"selectDefault_SaveJPEG:", "selectDefault_SaveTIFF:", "selectDefault_SavePNG:"});
auto const kMyToggleSelectors = NSUISelectorTable({"save:", "saveAs:"});
auto const kMyMutexSelectors = NSUISelectorTable({"copy:", "paste:"});

}  // namespace

tagNSUISelectorGroup const DefaultCreatorSelectorGroup = {1, "DefaultCreatorSelectorGroup",
                                                          kDefaultCreatorSelectors.data()};
tagNSUISelectorGroup const DefaultFolderSelectorGroup = {1, "DefaultFolderSelectorGroup",
                                                         kDefaultFolderSelectors.data()};
tagNSUISelectorGroup const DefaultFileTypeSelectorGroup = {1, "DefaultFileTypeSelectorGroup",
                                                           kDefaultFileTypeSelectors.data()};
tagNSUISelectorGroup const MyToggleSelectorGroup = {0, "MyToggleSelectorGroup", kMyToggleSelectors.data()};
tagNSUISelectorGroup const MyMutexSelectorGroup = {1, "MyMutexSelectorGroup", kMyMutexSelectors.data()};

// ---- table operations ----

SEL tagNSUISelectorGroup::FirstSelector() const { return selectors ? selectors[0].selector : nullptr; }

int tagNSUISelectorGroup::SelectorCount() const {
  int count = 0;
  while (selectors && selectors[count].name) ++count;
  return count;
}

SEL tagNSUISelectorGroup::operator[](int selectorIndex) const {
  int const selectorCount = SelectorCount();
  if (!CoreVerify(selectorCount>0) || !CoreVerify(selectorIndex<selectorCount)) return nullptr;
  if (selectorIndex < 0) return nullptr;
  return selectors[selectorIndex].selector;
}

SEL tagNSUISelectorGroup::SelectorFromName(char const* name) const {
  if (!name) return nullptr;
  for (int i = 0; selectors && selectors[i].name; ++i) {
    if (std::strcmp(selectors[i].name, name) == 0) return selectors[i].selector;
  }
  return nullptr;
}

SEL tagNSUISelectorGroup::operator[](char const* name) const { return SelectorFromName(name); }

int tagNSUISelectorGroup::operator[](SEL selector) const {
  if (!selector) return -1;
  for (int i = 0; selectors && selectors[i].name; ++i) {
    if (selectors[i].selector == selector) return i;
  }
  return -1;
}

bool tagNSUISelectorGroup::IsMember(SEL selector) const { return (*this)[selector] >= 0; }
bool tagNSUISelectorGroup::IsMember(char const* name) const { return SelectorFromName(name) != nullptr; }

char const* tagNSUISelectorGroup::NameOfSelector(SEL selector) const {
  int const index = (*this)[selector];
  return index < 0 ? nullptr : selectors[index].name;
}

// ---- user defaults ----

namespace NSUserDefaults_Standard {

namespace {
// Opened per use, so every read sees what any other QSettings of the process last wrote.
std::unique_ptr<QSettings> Defaults() {
  return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                     QStringLiteral("Tavelo"), QStringLiteral("Tavelo"));
}
}  // namespace

QString stringForKey(QString const& key) {
  QVariant const value = Defaults()->value(key);
  return value.isValid() ? value.toString() : QString();
}

long integerForKey(QString const& key) { return long(Defaults()->value(key, 0).toLongLong()); }

QStringList stringArrayForKey(QString const& key) { return Defaults()->value(key).toStringList(); }

void setStringArray(QStringList const& value, QString const& key) {
  auto const defaults = Defaults();
  defaults->setValue(key, value);
  defaults->sync();
}

void setString(QString const& value, QString const& key) {
  auto const defaults = Defaults();
  defaults->setValue(key, value);
  defaults->sync();
}

void setInteger(long value, QString const& key) {
  auto const defaults = Defaults();
  defaults->setValue(key, qlonglong(value));
  defaults->sync();
}

}  // namespace NSUserDefaults_Standard

// ---- menu items ----

namespace NSMenuItem_NSUISelectorGroup {

SEL action(QAction const* menuItem) {
  if (!menuItem) return nullptr;
  QByteArray const name = menuItem->property("action").toByteArray();
  return name.isEmpty() ? nullptr : sel_registerName(name.constData());
}

void setAction(QAction* menuItem, SEL action) {
  if (!menuItem) return;
  menuItem->setProperty("action", action ? QByteArray(sel_getName(action)) : QByteArray());
}

QObject* target(QAction const* menuItem) {
  if (!menuItem) return nullptr;
  return menuItem->property("target").value<QPointer<QObject>>().data();
}

void setTarget(QAction* menuItem, QObject* target) {
  if (menuItem) menuItem->setProperty("target", QVariant::fromValue(QPointer<QObject>(target)));
}

int state(QAction const* menuItem) {
  return menuItem && menuItem->isCheckable() && menuItem->isChecked() ? NSOnState : NSOffState;
}

void setState(QAction* menuItem, int state) {
  if (!menuItem) return;
  menuItem->setCheckable(true);
  menuItem->setChecked(state == NSOnState);
}

QMenu* menu(QAction const* menuItem) {
  if (!menuItem) return nullptr;
  for (QObject* const owner : menuItem->associatedObjects()) {
    if (auto* const m = qobject_cast<QMenu*>(owner)) return m;
  }
  return nullptr;
}

void selectSelfFromSelectorGroup(QAction* self, tagNSUISelectorGroup const& selectorGroup) {
  if (!CoreVerify(self)) return;
  QMenu* const menu = NSMenuItem_NSUISelectorGroup::menu(self);
  SEL const menuItemAction = action(self);
  if (!CoreVerify(menu) || !CoreVerify(menuItemAction)) return;
  if (!selectorGroup.IsToggleGroup()) {
    if (NSMenu_NSUISelectorGroup::isOneSelectorPerMenuItem(menu, selectorGroup))
      NSMenu_NSUISelectorGroup::selectMenuItemWithSelector(menu, menuItemAction, selectorGroup);
    else
      NSMenu_NSUISelectorGroup::selectMenuItem(menu, self, selectorGroup);
  } else {
    NSMenu_NSUISelectorGroup::toggleMenuItem(menu, self, selectorGroup);
  }
}

void setToggleState(QAction* self, int state, tagNSUISelectorGroup const& selectorGroup) {
  SEL const theMenuItemAction = action(self);
  if (!CoreVerify(selectorGroup.IsToggleGroup()) ||
      !CoreVerify(selectorGroup.IsMember(theMenuItemAction)))
    return;
  setState(self, state);
}

}  // namespace NSMenuItem_NSUISelectorGroup

// ---- menus ----

namespace NSMenu_NSUISelectorGroup {

using NSMenuItem_NSUISelectorGroup::action;
using NSMenuItem_NSUISelectorGroup::setState;
using NSMenuItem_NSUISelectorGroup::state;

namespace {
QList<QAction*> Items(QMenu* menu) { return menu ? menu->actions() : QList<QAction*>(); }
}  // namespace

int countItemsForSelectorFromSelectorGroup(QMenu* menu, SEL selector, tagNSUISelectorGroup const&) {
  int count = 0;
  for (QAction* const item : Items(menu)) {
    if (selector && action(item) == selector) ++count;
  }
  return count;
}

bool isOneSelectorPerMenuItem(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  int const selectorCount = selectorGroup.SelectorCount();
  for (int index = 0; index < selectorCount; ++index) {
    int const itemCountForThisSelector =
        countItemsForSelectorFromSelectorGroup(menu, selectorGroup.selectors[index].selector, selectorGroup);
    if (!CoreVerify(itemCountForThisSelector)) return false;
    if (itemCountForThisSelector != 1) return false;
  }
  return true;
}

QAction* firstMenuItemWithSelector(QMenu* menu, SEL selector, tagNSUISelectorGroup const&) {
  if (!selector) return nullptr;
  for (QAction* const item : Items(menu)) {
    if (action(item) == selector) return item;
  }
  return nullptr;
}

QAction* selectedMenuItemFromSelectorGroup(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  for (QAction* const item : Items(menu)) {
    if (selectorGroup.IsMember(action(item)) && state(item) == NSOnState) return item;
  }
  return nullptr;
}

SEL selectedMenuItemSelectorFromSelectorGroup(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  QAction* const item = selectedMenuItemFromSelectorGroup(menu, selectorGroup);
  return item ? action(item) : nullptr;
}

QAction* selectMenuItemWithSelector(QMenu* menu, SEL selector, tagNSUISelectorGroup const& selectorGroup) {
  QAction* firstSelected = nullptr;
  for (QAction* const item : Items(menu)) {
    SEL const itemAction = action(item);
    if (!selectorGroup.IsMember(itemAction)) continue;
    bool const on = selector && itemAction == selector;
    setState(item, on ? NSOnState : NSOffState);
    if (on && !firstSelected) firstSelected = item;
  }
  return firstSelected;
}

QAction* selectFirstFromSelectorGroup(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  return selectMenuItemWithSelector(menu, selectorGroup.FirstSelector(), selectorGroup);
}

void selectMenuItem(QMenu* menu, QAction* menuItem, tagNSUISelectorGroup const& selectorGroup) {
  SEL const theMenuItemAction = action(menuItem);
  if (!CoreVerify(selectorGroup.IsMember(theMenuItemAction))) return;
  // With one item per action the action picks it; with several only the very item does.
  bool const byAction = countItemsForSelectorFromSelectorGroup(menu, theMenuItemAction, selectorGroup) == 1;
  for (QAction* const item : Items(menu)) {
    SEL const itemAction = action(item);
    if (!selectorGroup.IsMember(itemAction)) continue;
    bool const on = byAction ? itemAction == theMenuItemAction : item == menuItem;
    setState(item, on ? NSOnState : NSOffState);
  }
}

QAction* selectMenuItemWithMenuText(QMenu* menu, QString const& menuText,
                                    tagNSUISelectorGroup const& selectorGroup) {
  QAction* selected = nullptr;
  for (QAction* const item : Items(menu)) {
    if (!selectorGroup.IsMember(action(item))) continue;
    QString const menuItem_N_Title = item->text();
    bool const hasTitle = CocoaXVerifyText(!menuItem_N_Title.isEmpty(), "menuItem_N_Title");
    bool const on = !selected && hasTitle && menuItem_N_Title == menuText;
    setState(item, on ? NSOnState : NSOffState);
    if (on) selected = item;
  }
  return selected;
}

bool isMenuItemToggleOn(QMenu* menu, SEL withSelector, tagNSUISelectorGroup const& selectorGroup) {
  if (!CoreVerify(selectorGroup.IsMember(withSelector))) return false;
  QAction* const firstMenuItemWithSelector =
      NSMenu_NSUISelectorGroup::firstMenuItemWithSelector(menu, withSelector, selectorGroup);
  if (!CoreVerify(firstMenuItemWithSelector)) return false;
  return state(firstMenuItemWithSelector) == NSOnState;
}

void setGroupToggleState(QMenu* menu, int state, tagNSUISelectorGroup const& selectorGroup) {
  int const selectorCount = selectorGroup.SelectorCount();
  for (int index = 0; index < selectorCount; ++index) {
    QAction* const firstMenuItemWithSelector = NSMenu_NSUISelectorGroup::firstMenuItemWithSelector(
        menu, selectorGroup.selectors[index].selector, selectorGroup);
    if (CoreVerify(firstMenuItemWithSelector)) setState(firstMenuItemWithSelector, state);
  }
}

void setMenuItemToggle(QMenu* menu, SEL selector, int state, tagNSUISelectorGroup const& selectorGroup) {
  QAction* const menuItem = firstMenuItemWithSelector(menu, selector, selectorGroup);
  if (!CoreVerify(menuItem)) return;
  NSMenuItem_NSUISelectorGroup::setToggleState(menuItem, state, selectorGroup);
}

void toggleMenuItem(QMenu*, QAction* menuItem, tagNSUISelectorGroup const& selectorGroup) {
  SEL const theMenuItemAction = action(menuItem);
  if (!CoreVerify(selectorGroup.IsToggleGroup()) ||
      !CoreVerify(selectorGroup.IsMember(theMenuItemAction)))
    return;
  setState(menuItem, state(menuItem) == NSOnState ? NSOffState : NSOnState);
}

bool performMenuItemAction(QMenu*, QAction* menuItem, tagNSUISelectorGroup const& selectorGroup) {
  if (!CoreVerify(menuItem)) return false;
  if (!CocoaXVerifyText(selectorGroup.IsMember(action(menuItem)),
                        "selectorGroup.IsMember([menuItem action])"))
    return false;
  QObject* const menuItemTarget = NSMenuItem_NSUISelectorGroup::target(menuItem);
  SEL const menuItemAction = action(menuItem);
  if (!CoreVerify(menuItemTarget) || !CoreVerify(menuItemAction)) return false;
  QCoreApplication* const app = QCoreApplication::instance();
  if (!app) return false;
  // The action runs on the main thread after the current event, as target->action(item).
  QByteArray slot = sel_getName(menuItemAction);
  if (slot.endsWith(':')) slot.chop(1);
  QPointer<QObject> const target(menuItemTarget);
  QPointer<QAction> const sender(menuItem);
  return QMetaObject::invokeMethod(
      app,
      [target, sender, slot] {
        if (!target) return;
        QMetaObject::invokeMethod(target.data(), slot.constData(), Qt::DirectConnection,
                                  Q_ARG(QObject*, sender.data()));
      },
      Qt::QueuedConnection);
}

// ---- persistence ----

void saveSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  if (selectorGroup.IsToggleGroup()) saveToggleSelectorGroupPreferences(menu, selectorGroup);
  else saveMutexSelectorGroupPreferences(menu, selectorGroup);
}

void restoreSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  restoreSelectorGroupPreferences(menu, selectorGroup, true);
}

void restoreSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup,
                                     bool withPerformMenuAction) {
  if (selectorGroup.IsToggleGroup())
    restoreToggleSelectorGroupPreferences(menu, selectorGroup, withPerformMenuAction);
  else
    restoreMutexSelectorGroupPreferences(menu, selectorGroup, withPerformMenuAction, nullptr);
}

void saveMutexSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  QAction* const item = selectedMenuItemFromSelectorGroup(menu, selectorGroup);
  SEL const itemAction = action(item);
  if (!item || !itemAction) return;
  QString const groupName = selectorGroup.Name ? QString::fromUtf8(selectorGroup.Name) : QString();
  // The selector's name when it picks one item; the item's text when several share it.
  QString selectorName_or_MenuItemText;
  if (countItemsForSelectorFromSelectorGroup(menu, itemAction, selectorGroup) == 1) {
    char const* const name = selectorGroup.NameOfSelector(itemAction);
    if (name) selectorName_or_MenuItemText = QString::fromUtf8(name);
  } else {
    selectorName_or_MenuItemText = item->text();
  }
  if (!CocoaXVerifyText(!groupName.isEmpty(), "groupName") ||
      !CocoaXVerifyText(!selectorName_or_MenuItemText.isNull(), "selectorName_or_MenuItemText"))
    return;
  NSUserDefaults_Standard::setString(selectorName_or_MenuItemText, groupName);
}

void restoreMutexSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup,
                                          bool withPerformMenuAction, SEL defaultSelector) {
  if (!CoreVerify(selectorGroup.Name)) return;
  QString const stored = NSUserDefaults_Standard::stringForKey(QString::fromUtf8(selectorGroup.Name));
  if (stored.isNull()) {
    QAction* const selectedMenuItem =
        defaultSelector ? selectMenuItemWithSelector(menu, defaultSelector, selectorGroup)
                        : selectFirstFromSelectorGroup(menu, selectorGroup);
    CoreMachDebugVerify(selectedMenuItem);
    if (withPerformMenuAction) performMenuItemAction(menu, selectedMenuItem, selectorGroup);
    return;
  }
  QByteArray const selectorName_or_MenuItemText = stored.toUtf8();
  if (!CocoaXVerifyText(!selectorName_or_MenuItemText.isEmpty(), "selectorName_or_MenuItemText"))
    return;
  QAction* const before = selectedMenuItemFromSelectorGroup(menu, selectorGroup);
  if (selectorGroup.IsMember(selectorName_or_MenuItemText.constData())) {
    SEL const theSelector = selectorGroup.SelectorFromName(selectorName_or_MenuItemText.constData());
    if (CoreVerify(theSelector)) selectMenuItemWithSelector(menu, theSelector, selectorGroup);
  } else {
    selectMenuItemWithMenuText(menu, stored, selectorGroup);
  }
  QAction* const after = selectedMenuItemFromSelectorGroup(menu, selectorGroup);
  // A choice that was already checked is not performed again.
  if (after != before && withPerformMenuAction) performMenuItemAction(menu, after, selectorGroup);
}

void saveToggleSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup) {
  int const selectorCount = selectorGroup.SelectorCount();
  for (int index = 0; index < selectorCount; ++index) {
    SEL const menuItemSelector = selectorGroup[index];
    if (!CoreVerify(menuItemSelector)) continue;
    QString const key = QString::fromUtf8(sel_getName(menuItemSelector));
    QAction* const firstMenuItemWithSelector =
        NSMenu_NSUISelectorGroup::firstMenuItemWithSelector(menu, menuItemSelector, selectorGroup);
    if (!CoreVerify(firstMenuItemWithSelector)) continue;
    NSUserDefaults_Standard::setInteger(state(firstMenuItemWithSelector), key);
  }
}

void restoreToggleSelectorGroupPreferences(QMenu* menu, tagNSUISelectorGroup const& selectorGroup,
                                           bool withPerformMenuAction) {
  int const selectorCount = selectorGroup.SelectorCount();
  for (int index = 0; index < selectorCount; ++index) {
    SEL const menuItemSelector = selectorGroup[index];
    if (!CoreVerify(menuItemSelector)) continue;
    QString const key = QString::fromUtf8(sel_getName(menuItemSelector));
    QAction* const firstMenuItemWithSelector =
        NSMenu_NSUISelectorGroup::firstMenuItemWithSelector(menu, menuItemSelector, selectorGroup);
    if (!CoreVerify(firstMenuItemWithSelector)) continue;
    long const stored = NSUserDefaults_Standard::integerForKey(key);
    if (stored == state(firstMenuItemWithSelector)) continue;
    // The action itself is expected to flip the check mark.
    if (withPerformMenuAction) performMenuItemAction(menu, firstMenuItemWithSelector, selectorGroup);
    else setState(firstMenuItemWithSelector, int(stored));
  }
}

}  // namespace NSMenu_NSUISelectorGroup
