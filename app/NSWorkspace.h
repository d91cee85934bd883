// The desktop's workspace services: opening addresses, the device-mount, sleep and wake
// notifications (UDisks2 and logind on the system bus) and unmount-and-eject (UDisks2).
// Without a system bus there are no notifications, and eject logs and does nothing.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantMap>

class NSWorkspace : public QObject {
  Q_OBJECT

 public:
  // The application's workspace, on the system bus.
  static NSWorkspace* sharedWorkspace();
  // A workspace listening on (and asking) the given bus.
  explicit NSWorkspace(QDBusConnection bus);

  bool openURL(QUrl const& url);
  // Unmounts the file system mounted at path and ejects its drive.
  bool unmountAndEjectDeviceAtPath(QString const& path);
  // Whether the system bus could be reached when the workspace was made.
  bool isConnected() const { return mConnected; }

 signals:
  void didMount();
  void willSleep();
  void didWake();

 private slots:
  void filesystemPropertiesChanged(QString const& interfaceName, QVariantMap const& changed,
                                   QStringList const& invalidated);
  void prepareForSleep(bool start);

 private:
  QDBusConnection mBus;
  bool mConnected = false;
};
