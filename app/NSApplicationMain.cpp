#include "NSApplicationMain.h"

#include <QDBusConnection>
#include <QFileInfo>
#include <QIcon>
#include <QStringList>

#include "CoreMachDebugLog.h"
#include "DVDControlWindow.h"
#include "DVDVideoWindow.h"
#include "GrabDVDController.h"
#include "DVDFullScreen.h"
#include "DVDMediaPlayerBus.h"
#include "DVDScreenSaverInhibitor.h"
#include "DVDWindowPlaces.h"
#include "MainMenuNib.h"
#include "NSApplication.h"

int NSApplicationMain(int argc, char** argv) {
  NSApplication app(argc, argv);
  QCoreApplication::setOrganizationName(QStringLiteral("Tavelo"));
  QCoreApplication::setApplicationName(QStringLiteral("Tavelo"));
  // The desktop file's name: a Wayland desktop finds the icon and the entry by it.
  QGuiApplication::setDesktopFileName(QStringLiteral("org.tavelo.Tavelo"));
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/tavelo.png")));

  MainMenuNib nib;
  if (!nib.Construct()) return 1;
  GrabDVDController* const controller = nib.controller();
  // The desktop's side: MPRIS, and the screen kept awake while playing. Both let go before
  // the playback session ends.
  DVDMediaPlayerBus playerBus;
  DVDScreenSaverInhibitor screenAwake;
  playerBus.Construct(controller, nib.videoWindow(), QDBusConnection::sessionBus());
  screenAwake.Construct(QDBusConnection::sessionBus());
  QObject::connect(&playerBus, &DVDMediaPlayerBus::playingChanged, &screenAwake,
                   &DVDScreenSaverInhibitor::SetInhibited);
  QObject::connect(&app, &QCoreApplication::aboutToQuit, &playerBus, [&playerBus, &screenAwake] {
    playerBus.Stop();
    screenAwake.ReleaseNow();
  });
  QObject::connect(&app, &QCoreApplication::aboutToQuit, controller, [controller, &nib] {
    if (nib.fullScreen()) nib.fullScreen()->leave();
    DVDWindowPlaces::Save(nib.videoWindow(), nib.controlWindow());
    controller->applicationWillTerminate();
  });

  DVDVideoWindow* const videoWindow = nib.videoWindow();
  videoWindow->show();
  if (DVDControlWindow* control = nib.controlWindow()) {
    // Where they were last time; else the controller below the video, hiding none of it.
    if (!DVDWindowPlaces::Restore(videoWindow, control)) {
      DVDWindowPlaces::PlaceControllerBelow(videoWindow, control);
    }
    DVDWindowPlaces::KeepControllerOffVideo(videoWindow, control);
    control->show();
  }

  // `tavelo PATH` opens a folder or disc image once launched, as a drop would.
  QStringList const arguments = QCoreApplication::arguments();
  QString const path = arguments.size() > 1 ? arguments.at(1) : QString();
  QMetaObject::invokeMethod(
      controller,
      [&nib, &playerBus, controller, path] {
        controller->applicationDidFinishLaunching();
        playerBus.Start();
        nib.validateMenuItems();
        if (!path.isEmpty()) {
          QFileInfo const info(path);
          controller->openMedia(info.absoluteFilePath(), info.isFile());
        }
      },
      Qt::QueuedConnection);
  return app.exec();
}
