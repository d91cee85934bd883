#include "NSWorkspace.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <QDesktopServices>
#include <QDir>

#include "CoreMachDebugLog.h"

namespace {

char const kUDisks2[] = "org.freedesktop.UDisks2";
char const kUDisks2Path[] = "/org/freedesktop/UDisks2";
char const kFilesystem[] = "org.freedesktop.UDisks2.Filesystem";
char const kBlock[] = "org.freedesktop.UDisks2.Block";
char const kDrive[] = "org.freedesktop.UDisks2.Drive";

// MountPoints is an array of null-terminated byte strings.
QStringList MountPointsFrom(QVariant const& value) {
  QStringList points;
  QDBusArgument const arg = value.value<QDBusArgument>();
  if (arg.currentType() == QDBusArgument::ArrayType) {
    arg.beginArray();
    while (!arg.atEnd()) {
      QByteArray bytes;
      arg >> bytes;
      if (bytes.endsWith('\0')) bytes.chop(1);
      points << QString::fromUtf8(bytes);
    }
    arg.endArray();
  } else if (value.canConvert<QList<QByteArray>>()) {
    for (QByteArray bytes : value.value<QList<QByteArray>>()) {
      if (bytes.endsWith('\0')) bytes.chop(1);
      points << QString::fromUtf8(bytes);
    }
  }
  return points;
}

}  // namespace

NSWorkspace* NSWorkspace::sharedWorkspace() {
  static NSWorkspace* sWorkspace = new NSWorkspace(QDBusConnection::systemBus());
  return sWorkspace;
}

NSWorkspace::NSWorkspace(QDBusConnection connection) : mBus(std::move(connection)) {
  QDBusConnection& bus = mBus;
  mConnected = bus.isConnected();
  if (!mConnected) return;
  // A device mounts when a file system's mount points change to a non-empty list.
  bus.connect(kUDisks2, QString(), QStringLiteral("org.freedesktop.DBus.Properties"),
              QStringLiteral("PropertiesChanged"), this,
              SLOT(filesystemPropertiesChanged(QString, QVariantMap, QStringList)));
  bus.connect(QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
              QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"),
              this, SLOT(prepareForSleep(bool)));
}

void NSWorkspace::filesystemPropertiesChanged(QString const& interfaceName,
                                              QVariantMap const& changed, QStringList const&) {
  if (interfaceName != QLatin1String(kFilesystem)) return;
  auto const it = changed.constFind(QStringLiteral("MountPoints"));
  if (it != changed.constEnd() && !MountPointsFrom(it.value()).isEmpty()) emit didMount();
}

void NSWorkspace::prepareForSleep(bool start) {
  if (start) emit willSleep();
  else emit didWake();
}

bool NSWorkspace::openURL(QUrl const& url) { return QDesktopServices::openUrl(url); }

bool NSWorkspace::unmountAndEjectDeviceAtPath(QString const& path) {
  QDBusConnection& bus = mBus;
  bool fOk = CoreVerify(bus.isConnected());
  if (!fOk) return false;
  QDBusMessage const call = QDBusMessage::createMethodCall(
      kUDisks2, kUDisks2Path, QStringLiteral("org.freedesktop.DBus.ObjectManager"),
      QStringLiteral("GetManagedObjects"));
  QDBusMessage const reply = bus.call(call);
  fOk = CoreVerify(reply.type() == QDBusMessage::ReplyMessage);
  if (!fOk || reply.arguments().isEmpty()) return false;

  // a{oa{sa{sv}}}: find the file system mounted at path and its drive.
  QString const wanted = QDir::cleanPath(path);
  QString blockPath, drivePath;
  QDBusArgument const objects = reply.arguments().first().value<QDBusArgument>();
  objects.beginMap();
  while (!objects.atEnd()) {
    QDBusObjectPath objectPath;
    QMap<QString, QVariantMap> interfaces;
    objects.beginMapEntry();
    objects >> objectPath >> interfaces;
    objects.endMapEntry();
    auto const fs = interfaces.constFind(QLatin1String(kFilesystem));
    if (fs == interfaces.constEnd()) continue;
    QStringList const points = MountPointsFrom(fs->value(QStringLiteral("MountPoints")));
    bool mountedHere = false;
    for (QString const& p : points) mountedHere = mountedHere || QDir::cleanPath(p) == wanted;
    if (!mountedHere) continue;
    blockPath = objectPath.path();
    auto const block = interfaces.constFind(QLatin1String(kBlock));
    if (block != interfaces.constEnd())
      drivePath = block->value(QStringLiteral("Drive")).value<QDBusObjectPath>().path();
  }
  objects.endMap();
  fOk = CoreVerify(!blockPath.isEmpty());
  if (!fOk) return false;

  QDBusMessage unmount = QDBusMessage::createMethodCall(kUDisks2, blockPath, kFilesystem, QStringLiteral("Unmount"));
  unmount << QVariantMap();
  QDBusMessage const unmounted = bus.call(unmount);
  fOk = CoreVerify(unmounted.type() == QDBusMessage::ReplyMessage);
  if (!fOk) return false;
  if (drivePath.isEmpty() || drivePath == QLatin1String("/")) return true;
  QDBusMessage eject = QDBusMessage::createMethodCall(kUDisks2, drivePath, kDrive, QStringLiteral("Eject"));
  eject << QVariantMap();
  QDBusMessage const ejected = bus.call(eject);
  return CoreVerify(ejected.type() == QDBusMessage::ReplyMessage);
}
