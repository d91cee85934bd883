// The main nib: loads "MainMenu" (the video window with the main menu, the controller
// window inside it) and "AboutBox", makes the application controller, connects its
// outlets by object name, wires every menu item and control to its action, and keeps the
// menu items validated.
#pragma once

#include <QObject>
#include <QPointer>

#include <memory>

#include <QAction>
#include <QWidget>

#include "DVDControlWindow.h"
#include "DVDVideoWindow.h"

class DVDFullScreen;
class DVDGoMenu;
class DVDRecentMenu;
class GrabDVDController;

class MainMenuNib : public QObject {
  Q_OBJECT

 public:
  MainMenuNib();
  ~MainMenuNib() override;

  // Loads both nibs and runs every awake step; false when "MainMenu" cannot be loaded.
  bool Construct();

  GrabDVDController* controller() const { return mController.get(); }
  DVDVideoWindow* videoWindow() const { return mVideoWindow; }
  DVDControlWindow* controlWindow() const { return mControlWindow; }
  QWidget* aboutBox() const { return mAboutBox; }
  DVDGoMenu* goMenu() const { return mGoMenu.get(); }
  DVDFullScreen* fullScreen() const { return mFullScreen.get(); }
  DVDRecentMenu* recentMenu() const { return mRecentMenu.get(); }

  // The menu item whose action is selector (e.g. "onPlay:"), or null.
  QAction* menuItemWithAction(char const* selector) const;
  // Sets each menu item's enabled state from its target and the controller's validation.
  void validateMenuItems();
  // Chooses a menu item as the user does: validated first, then performed when enabled.
  bool performMenuItem(QAction* item);

  // Where an item's action goes: the application for "terminate:", else the controller.
  QObject* targetForAction(QByteArray const& selector) const;

 private:
  void connectOutlets();
  void wireMenuItems();
  void wireControls();

  std::unique_ptr<GrabDVDController> mController;
  QPointer<DVDVideoWindow> mVideoWindow;
  QPointer<DVDControlWindow> mControlWindow;
  QPointer<QWidget> mAboutBox;
  // Go → Titles, Chapters, Audio, Subtitles, Angle.
  std::unique_ptr<DVDGoMenu> mGoMenu;
  std::unique_ptr<DVDFullScreen> mFullScreen;
  std::unique_ptr<DVDRecentMenu> mRecentMenu;
};
