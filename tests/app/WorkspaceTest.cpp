#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QMutex>
#include <QProcess>
#include <QThread>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "AppTestSupport.h"
#include "NSWorkspace.h"
#include "TestLog.h"

using Interfaces = QMap<QString, QVariantMap>;
using ManagedObjects = QMap<QDBusObjectPath, Interfaces>;
Q_DECLARE_METATYPE(Interfaces)
Q_DECLARE_METATYPE(ManagedObjects)

namespace {

// A disk service on the test bus: one optical drive with a file system mounted at
// /media/tavelo/DISC, answering the calls an eject makes.
// It runs on a thread of its own, since the workspace's calls wait for their answers.
class FakeUDisks2 : public QDBusVirtualObject {
 public:
  QStringList Calls() const {
    QMutexLocker lock(&mMutex);
    return mCalls;
  }
  std::atomic<bool> failUnmount{false};

  QString introspect(QString const&) const override { return {}; }
  bool handleMessage(QDBusMessage const& message, QDBusConnection const& connection) override {
    {
      QMutexLocker lock(&mMutex);
      mCalls << message.path() + QStringLiteral(" ") + message.interface() + QStringLiteral(".") + message.member();
    }
    if (message.member() == QLatin1String("GetManagedObjects")) {
      QVariantMap filesystem{{QStringLiteral("MountPoints"),
                              QVariant::fromValue(QByteArrayList{QByteArray("/media/tavelo/DISC", 19)})}};
      QVariantMap block{{QStringLiteral("Drive"),
                         QVariant::fromValue(QDBusObjectPath(QStringLiteral("/org/freedesktop/UDisks2/drives/dvd")))}};
      ManagedObjects objects;
      objects[QDBusObjectPath(QStringLiteral("/org/freedesktop/UDisks2/block_devices/sda1"))] =
          Interfaces{{QStringLiteral("org.freedesktop.UDisks2.Block"), QVariantMap()}};
      objects[QDBusObjectPath(QStringLiteral("/org/freedesktop/UDisks2/block_devices/sr0"))] =
          Interfaces{{QStringLiteral("org.freedesktop.UDisks2.Block"), block},
                     {QStringLiteral("org.freedesktop.UDisks2.Filesystem"), filesystem}};
      connection.send(message.createReply(QVariant::fromValue(objects)));
      return true;
    }
    if (message.member() == QLatin1String("Unmount") && failUnmount) {
      connection.send(message.createErrorReply(QStringLiteral("org.freedesktop.UDisks2.Error.DeviceBusy"),
                                               QStringLiteral("busy")));
      return true;
    }
    connection.send(message.createReply());
    return true;
  }

 private:
  mutable QMutex mMutex;
  QStringList mCalls;
};

class WorkspaceTest : public testing::Test {
 protected:
  void SetUp() override {
    qDBusRegisterMetaType<QByteArrayList>();
    qDBusRegisterMetaType<Interfaces>();
    qDBusRegisterMetaType<ManagedObjects>();
    mDaemon.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                   QStringLiteral("--print-address=1")});
    ASSERT_TRUE(mDaemon.waitForStarted(5000));
    QElapsedTimer timer;
    timer.start();
    while (!mDaemon.canReadLine() && timer.elapsed() < 5000) mDaemon.waitForReadyRead(100);
    mAddress = QString::fromUtf8(mDaemon.readLine()).trimmed();
    ASSERT_FALSE(mAddress.isEmpty());
    mServices = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(mAddress, QStringLiteral("services")));
    ASSERT_TRUE(mServices->isConnected());
    ASSERT_TRUE(mServices->registerService(QStringLiteral("org.freedesktop.UDisks2")));
    ASSERT_TRUE(mServices->registerService(QStringLiteral("org.freedesktop.login1")));
    ASSERT_TRUE(mServices->registerVirtualObject(QStringLiteral("/org/freedesktop/UDisks2"), &mUDisks,
                                                 QDBusConnection::SubPath));
    mUDisks.moveToThread(&mServiceThread);
    mServiceThread.start();
    mWorkspace = std::make_unique<NSWorkspace>(QDBusConnection::connectToBus(mAddress, QStringLiteral("app")));
    ASSERT_TRUE(mWorkspace->isConnected());
    QObject::connect(mWorkspace.get(), &NSWorkspace::didMount, [this] { ++mMounts; });
    QObject::connect(mWorkspace.get(), &NSWorkspace::willSleep, [this] { mEvents << QStringLiteral("sleep"); });
    QObject::connect(mWorkspace.get(), &NSWorkspace::didWake, [this] { mEvents << QStringLiteral("wake"); });
  }
  void TearDown() override {
    mWorkspace.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("app"));
    mServices.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("services"));
    mServiceThread.quit();
    mServiceThread.wait();
    mDaemon.kill();
    mDaemon.waitForFinished(5000);
  }
  void Signal(QString const& path, QString const& interface, QString const& name, QVariantList const& args) {
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, name);
    signal.setArguments(args);
    ASSERT_TRUE(mServices->send(signal));
  }
  // Signals travel through the bus daemon.
  void WaitFor(std::function<bool()> const& done) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < 3000) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  }

  QProcess mDaemon;
  QThread mServiceThread;
  QString mAddress;
  FakeUDisks2 mUDisks;
  std::unique_ptr<QDBusConnection> mServices;
  std::unique_ptr<NSWorkspace> mWorkspace;
  int mMounts = 0;
  QStringList mEvents;
};

}  // namespace

TEST_F(WorkspaceTest, SleepAndWakeComeFromTheLoginManager) {
  Signal(QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
         QStringLiteral("PrepareForSleep"), {true});
  Signal(QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
         QStringLiteral("PrepareForSleep"), {false});
  WaitFor([this] { return mEvents.size() >= 2; });
  EXPECT_EQ(mEvents, (QStringList{QStringLiteral("sleep"), QStringLiteral("wake")}));
}

TEST_F(WorkspaceTest, AMountIsAFileSystemGainingMountPoints) {
  QString const path = QStringLiteral("/org/freedesktop/UDisks2/block_devices/sr0");
  QString const fs = QStringLiteral("org.freedesktop.UDisks2.Filesystem");
  // Unmounted (no mount points) and other interfaces are not mounts.
  Signal(path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"),
         {fs, QVariantMap{{QStringLiteral("MountPoints"), QVariant::fromValue(QByteArrayList())}}, QStringList()});
  Signal(path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"),
         {QStringLiteral("org.freedesktop.UDisks2.Block"), QVariantMap{{QStringLiteral("Size"), 1}}, QStringList()});
  Signal(path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"),
         {fs, QVariantMap{{QStringLiteral("MountPoints"),
                           QVariant::fromValue(QByteArrayList{QByteArray("/media/x", 9)})}},
          QStringList()});
  WaitFor([this] { return mMounts >= 1; });
  // Let any late signal arrive before counting.
  QElapsedTimer settle;
  settle.start();
  while (settle.elapsed() < 200) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  EXPECT_EQ(mMounts, 1);
}

TEST_F(WorkspaceTest, EjectUnmountsTheFileSystemThenEjectsItsDrive) {
  EXPECT_TRUE(mWorkspace->unmountAndEjectDeviceAtPath(QStringLiteral("/media/tavelo/DISC/")));
  EXPECT_THAT(mUDisks.Calls(),
              testing::ElementsAre(
                  QStringLiteral("/org/freedesktop/UDisks2 org.freedesktop.DBus.ObjectManager.GetManagedObjects"),
                  QStringLiteral("/org/freedesktop/UDisks2/block_devices/sr0 org.freedesktop.UDisks2.Filesystem.Unmount"),
                  QStringLiteral("/org/freedesktop/UDisks2/drives/dvd org.freedesktop.UDisks2.Drive.Eject")));
}

TEST_F(WorkspaceTest, EjectOfAnUnknownPathOrAFailedUnmountIsLogged) {
  tavelo_test::LogTail tail;
  EXPECT_FALSE(mWorkspace->unmountAndEjectDeviceAtPath(QStringLiteral("/media/other")));
  mUDisks.failUnmount = true;
  EXPECT_FALSE(mWorkspace->unmountAndEjectDeviceAtPath(QStringLiteral("/media/tavelo/DISC")));
  EXPECT_THAT(tail.Lines(),
              testing::ElementsAre(testing::HasSubstr(" code : !blockPath.isEmpty() in NSWorkspace:"),
                                   testing::HasSubstr(" code : unmounted.type() == QDBusMessage::ReplyMessage in NSWorkspace:")));
  // No eject after a failed unmount.
  EXPECT_FALSE(mUDisks.Calls().last().endsWith(QStringLiteral("Eject")));
}

TEST(Workspace, WithoutABusThereIsNoCrashAndEjectLogs) {
  NSWorkspace workspace(QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent/tavelo-bus"),
                                                      QStringLiteral("nobus")));
  EXPECT_FALSE(workspace.isConnected());
  tavelo_test::LogTail tail;
  EXPECT_FALSE(workspace.unmountAndEjectDeviceAtPath(QStringLiteral("/media/cdrom")));
  EXPECT_THAT(tail.Lines(), testing::ElementsAre(testing::MatchesRegex(
                                "VERIFY FAILED:  code : bus.isConnected\\(\\) in NSWorkspace:[0-9]+ "
                                "\\(NSWorkspace::unmountAndEjectDeviceAtPath\\)")));
  QDBusConnection::disconnectFromBus(QStringLiteral("nobus"));
}
