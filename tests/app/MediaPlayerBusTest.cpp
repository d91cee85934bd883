// The player on a session bus of the test's own (a private dbus-daemon), asked as a desktop
// asks it, over the bus; the playback service is the fake, the controller the real one. And
// the screen kept awake, asked of a stand-in screen saver on the same bus.
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "AppTestSupport.h"
#include "DVDEvent.h"
#include "DVDMediaPlayerBus.h"
#include "DVDScreenSaverInhibitor.h"
#include "FakeDVDPlayback.h"
#include "GrabDVDController.h"
#include "GrabStillChoices.h"
#include "MainMenuNib.h"
#include "NSApplication.h"
#include "TestLog.h"

using fake_dvd::S;
using tavelo_app_test::NewFolder;
using tavelo_app_test::ProcessEvents;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// Records the player's signals as a desktop's widget receives them.
class PlayerSignals : public QObject {
  Q_OBJECT

 public:
  std::vector<QVariantMap> changes;
  std::vector<qlonglong> seeks;

 public slots:
  void propertiesChanged(QString const& interfaceName, QVariantMap const& changed,
                         QStringList const&) {
    if (interfaceName == QLatin1String("org.mpris.MediaPlayer2.Player")) changes.push_back(changed);
  }
  void seeked(qlonglong position) { seeks.push_back(position); }
};

// The desktop's screen saver: grants cookies from 7 and writes down each call. It answers on
// a thread of its own, as another process would, so that a call waiting for it is answered.
class StandInScreenSaver : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

 public:
  std::vector<std::string> Calls() const {
    std::lock_guard<std::mutex> const guard(mLock);
    return mCalls;
  }

 public slots:
  uint Inhibit(QString const& application, QString const&) {
    std::lock_guard<std::mutex> const guard(mLock);
    mCalls.push_back("Inhibit " + application.toStdString() + " " + std::to_string(mNext));
    return mNext++;
  }
  void UnInhibit(uint cookie) {
    std::lock_guard<std::mutex> const guard(mLock);
    mCalls.push_back("UnInhibit " + std::to_string(cookie));
  }

 private:
  mutable std::mutex mLock;
  std::vector<std::string> mCalls;
  uint mNext = 7;
};

namespace {

// Runs the event loop until done() or a minute has passed (a loaded machine is slow, never
// this slow); answers done().
bool WaitFor(std::function<bool()> const& done) {
  QElapsedTimer clock;
  clock.start();
  while (!done() && clock.elapsed() < 60000) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  return done();
}

// A session bus of our own for the whole suite.
class PrivateBus {
 public:
  bool Start() {
    mDaemon.setProgram(QStringLiteral("dbus-daemon"));
    mDaemon.setArguments({QStringLiteral("--session"), QStringLiteral("--nofork"),
                          QStringLiteral("--print-address=1")});
    mDaemon.setStandardErrorFile(QProcess::nullDevice());
    mDaemon.start();
    if (!mDaemon.waitForStarted(60000)) return false;
    QElapsedTimer clock;
    clock.start();
    while (!mDaemon.canReadLine() && clock.elapsed() < 60000) mDaemon.waitForReadyRead(1000);
    mAddress = QString::fromUtf8(mDaemon.readLine()).trimmed();
    return !mAddress.isEmpty();
  }
  ~PrivateBus() {
    mDaemon.kill();
    mDaemon.waitForFinished(60000);
  }
  QString const& Address() const { return mAddress; }

 private:
  QProcess mDaemon;
  QString mAddress;
};

PrivateBus* sBus = nullptr;

char const kPlayer[] = "org.mpris.MediaPlayer2.Player";
char const kRoot[] = "org.mpris.MediaPlayer2";

class MediaPlayerBusTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    sBus = new PrivateBus;
    if (!sBus->Start()) {
      delete sBus;
      sBus = nullptr;
    }
  }
  static void TearDownTestSuite() {
    delete sBus;
    sBus = nullptr;
  }

  void SetUp() override {
    ASSERT_NE(sBus, nullptr) << "no dbus-daemon could be started";
    ProcessEvents();
    fake_dvd::Reset();
    ASSERT_TRUE(mNib.Construct());
    c = mNib.controller();
    c->applicationDidFinishLaunching();
    static int serial = 0;
    ++serial;
    mPlayerName = QStringLiteral("player%1").arg(serial);
    mClientName = QStringLiteral("client%1").arg(serial);
    mPlayerBus = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(sBus->Address(), mPlayerName));
    mClient = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(sBus->Address(), mClientName));
    ASSERT_TRUE(mPlayerBus->isConnected());
    ASSERT_TRUE(mClient->isConnected());
  }
  void TearDown() override {
    mPlayer.reset();
    mInhibitor.reset();
    if (mSaver) {
      QDBusConnection saverBus(mSaverName);
      saverBus.unregisterService(QStringLiteral("org.freedesktop.ScreenSaver"));
      saverBus.unregisterObject(QStringLiteral("/org/freedesktop/ScreenSaver"));
      QDBusConnection::disconnectFromBus(mSaverName);
      mSaverThread.quit();
      mSaverThread.wait();
      mSaver.reset();
    }
    mPlayerBus.reset();
    mClient.reset();
    QDBusConnection::disconnectFromBus(mPlayerName);
    QDBusConnection::disconnectFromBus(mClientName);
    ProcessEvents();
  }

  // A disc with one NTSC title of 900 frames in 3 chapters, its picture at frame 300
  // (chapter 2's first), playing.
  void OpenDisc() {
    fake_dvd::State::Title title;
    title.info.frames = 900;
    title.info.chapters = 3;
    title.info.standard = kDVDVideoStandardNTSC;
    title.chapterFirstFrames = {0, 300, 600};
    S().titles = {title};
    S().playingTitle = 1;
    S().hasFrame = true;
    S().presentedTitle = 1;
    S().presentedChapter = 2;
    S().frameInTitle = 300;
    ASSERT_TRUE(tavelo_app_test::OpenMedia(c, NewFolder("Holiday"), false));
  }
  void StartPlayer() {
    mPlayer = std::make_unique<DVDMediaPlayerBus>();
    ASSERT_TRUE(mPlayer->Construct(c, mNib.videoWindow(), *mPlayerBus));
    ASSERT_TRUE(mPlayer->Start());
    mClient->connect(QString(), QStringLiteral("/org/mpris/MediaPlayer2"),
                     QStringLiteral("org.freedesktop.DBus.Properties"),
                     QStringLiteral("PropertiesChanged"), &mSignals,
                     SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
    mClient->connect(QString(), QStringLiteral("/org/mpris/MediaPlayer2"), QLatin1String(kPlayer),
                     QStringLiteral("Seeked"), &mSignals, SLOT(seeked(qlonglong)));
    ProcessEvents();
  }
  // An event of the service, as the controller and the player receive it.
  void Event(DVDEventCode code, DVDEventValue data1) {
    c->handleDVDEvent(DVDEvent::initWithData(code, data1, 0));
    ASSERT_NE(S().eventCallBack, nullptr);
    S().eventCallBack(code, data1, 0, S().eventRefCon);
    ProcessEvents();
  }

  // The stand-in screen saver on the bus, answering on its own thread.
  StandInScreenSaver& StartScreenSaver() {
    mSaverName = mPlayerName + QStringLiteral("-saver");
    QDBusConnection saverBus = QDBusConnection::connectToBus(sBus->Address(), mSaverName);
    mSaver = std::make_unique<StandInScreenSaver>();
    mSaverThread.start();
    mSaver->moveToThread(&mSaverThread);
    EXPECT_TRUE(saverBus.registerObject(QStringLiteral("/org/freedesktop/ScreenSaver"), mSaver.get(),
                                        QDBusConnection::ExportAllSlots));
    EXPECT_TRUE(saverBus.registerService(QStringLiteral("org.freedesktop.ScreenSaver")));
    return *mSaver;
  }

  QDBusMessage Call(char const* interfaceName, char const* method, QVariantList const& args = {}) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        QString::fromLatin1(DVDMediaPlayerBus::kServiceName), QStringLiteral("/org/mpris/MediaPlayer2"),
        QString::fromLatin1(interfaceName), QString::fromLatin1(method));
    message.setArguments(args);
    QDBusPendingCall pending = mClient->asyncCall(message);
    WaitFor([&pending] { return pending.isFinished(); });
    return pending.reply();
  }
  QVariant Property(char const* interfaceName, char const* name) {
    QDBusMessage const reply =
        Call("org.freedesktop.DBus.Properties", "Get",
             {QString::fromLatin1(interfaceName), QString::fromLatin1(name)});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return {};
    return reply.arguments().first().value<QDBusVariant>().variant();
  }
  QVariantMap Metadata() { return qdbus_cast<QVariantMap>(Property(kPlayer, "Metadata")); }
  QString LastStatusTold() const {
    for (auto it = mSignals.changes.rbegin(); it != mSignals.changes.rend(); ++it) {
      if (it->contains(QStringLiteral("PlaybackStatus"))) return it->value(QStringLiteral("PlaybackStatus")).toString();
    }
    return {};
  }

  MainMenuNib mNib;
  GrabDVDController* c = nullptr;
  QString mPlayerName, mClientName;
  std::unique_ptr<QDBusConnection> mPlayerBus, mClient;
  std::unique_ptr<DVDMediaPlayerBus> mPlayer;
  std::unique_ptr<DVDScreenSaverInhibitor> mInhibitor;
  PlayerSignals mSignals;
  QString mSaverName;
  QThread mSaverThread;
  std::unique_ptr<StandInScreenSaver> mSaver;
};

}  // namespace

TEST(MediaPlayerBusTimes, FramesAndMicrosecondsGoBothWays) {
  EXPECT_EQ(DVDMediaPlayerBus::FrameStartMicroseconds(300, kDVDVideoStandardNTSC), 10010000);
  EXPECT_EQ(DVDMediaPlayerBus::FrameStartMicroseconds(900, kDVDVideoStandardNTSC), 30030000);
  EXPECT_EQ(DVDMediaPlayerBus::FrameStartMicroseconds(1, kDVDVideoStandardNTSC), 33366);
  EXPECT_EQ(DVDMediaPlayerBus::FrameStartMicroseconds(150, kDVDVideoStandardPAL), 6000000);
  for (UInt32 frame = 0; frame < 2000; ++frame) {
    for (DVDVideoStandard standard : {kDVDVideoStandardNTSC, kDVDVideoStandardPAL}) {
      qint64 const start = DVDMediaPlayerBus::FrameStartMicroseconds(frame, standard);
      ASSERT_EQ(DVDMediaPlayerBus::FrameAtMicroseconds(start, standard), frame) << frame;
      // The microsecond before a frame starts still shows the one before.
      if (frame > 0) {
        ASSERT_EQ(DVDMediaPlayerBus::FrameAtMicroseconds(start - 1, standard), frame - 1);
      }
    }
  }
  EXPECT_EQ(DVDMediaPlayerBus::FrameAtMicroseconds(-5, kDVDVideoStandardNTSC), 0u);
}

TEST_F(MediaPlayerBusTest, WithoutABusThePlayerSaysSoInTheLogAndNothingFails) {
  tavelo_test::LogTail tail;
  DVDMediaPlayerBus player;
  EXPECT_FALSE(player.Construct(c, mNib.videoWindow(), QDBusConnection(QStringLiteral("no such bus"))));
  EXPECT_TRUE(player.ServiceName().isEmpty());
  DVDScreenSaverInhibitor inhibitor;
  EXPECT_FALSE(inhibitor.Construct(QDBusConnection(QStringLiteral("no such bus"))));
  inhibitor.SetInhibited(true);
  inhibitor.SetInhibited(false);
  inhibitor.ReleaseNow();
  std::string const text = tail.Text();
  EXPECT_THAT(text, HasSubstr("media player bus: no session bus"));
  EXPECT_THAT(text, HasSubstr("screen saver: no session bus"));
  EXPECT_THAT(text, Not(HasSubstr("FAILED")));
}

TEST_F(MediaPlayerBusTest, TheApplicationIsNamedOnTheBus) {
  StartPlayer();
  EXPECT_EQ(mPlayer->ServiceName(), QLatin1String("org.mpris.MediaPlayer2.tavelo"));
  EXPECT_TRUE(mClient->interface()->isServiceRegistered(QStringLiteral("org.mpris.MediaPlayer2.tavelo")).value());
  EXPECT_EQ(Property(kRoot, "Identity").toString(), QLatin1String("Tavelo"));
  EXPECT_EQ(Property(kRoot, "DesktopEntry").toString(), QLatin1String("org.tavelo.Tavelo"));
  EXPECT_TRUE(Property(kRoot, "CanQuit").toBool());
  EXPECT_TRUE(Property(kRoot, "CanRaise").toBool());
  EXPECT_FALSE(Property(kRoot, "HasTrackList").toBool());
  EXPECT_TRUE(Property(kPlayer, "CanControl").toBool());
  EXPECT_EQ(Property(kPlayer, "Rate").toDouble(), 1.0);
  // Nothing open: stopped, nothing to play, the track no track.
  EXPECT_EQ(Property(kPlayer, "PlaybackStatus").toString(), QLatin1String("Stopped"));
  EXPECT_FALSE(Property(kPlayer, "CanPlay").toBool());
  EXPECT_EQ(Metadata().value(QStringLiteral("mpris:trackid")).value<QDBusObjectPath>().path(),
            QLatin1String(DVDMediaPlayerBus::kNoTrack));
}

TEST_F(MediaPlayerBusTest, ASecondPlayerTakesAnInstanceName) {
  StartPlayer();
  QString const secondName = mPlayerName + QStringLiteral("-second");
  {
    QDBusConnection second = QDBusConnection::connectToBus(sBus->Address(), secondName);
    DVDMediaPlayerBus other;
    ASSERT_TRUE(other.Construct(c, mNib.videoWindow(), second));
    EXPECT_EQ(other.ServiceName(), QStringLiteral("org.mpris.MediaPlayer2.tavelo.instance%1")
                                       .arg(QCoreApplication::applicationPid()));
  }
  QDBusConnection::disconnectFromBus(secondName);
}

TEST_F(MediaPlayerBusTest, StatusFollowsPlaybackAndIsSignalled) {
  StartPlayer();
  OpenDisc();
  Event(kDVDEventPlayback, kDVDStatePlaying);
  EXPECT_EQ(Property(kPlayer, "PlaybackStatus").toString(), QLatin1String("Playing"));
  EXPECT_TRUE(WaitFor([this] { return LastStatusTold() == QLatin1String("Playing"); }));
  EXPECT_TRUE(Property(kPlayer, "CanPause").toBool());
  Event(kDVDEventPlayback, kDVDStatePaused);
  EXPECT_EQ(Property(kPlayer, "PlaybackStatus").toString(), QLatin1String("Paused"));
  EXPECT_TRUE(WaitFor([this] { return LastStatusTold() == QLatin1String("Paused"); }));
  Event(kDVDEventPlayback, kDVDStateStopped);
  EXPECT_EQ(Property(kPlayer, "PlaybackStatus").toString(), QLatin1String("Stopped"));
  EXPECT_TRUE(WaitFor([this] { return LastStatusTold() == QLatin1String("Stopped"); }));
  // Closed: stopped, whatever the service said last.
  Event(kDVDEventPlayback, kDVDStatePlaying);
  c->closeMedia();
  ProcessEvents();
  EXPECT_EQ(Property(kPlayer, "PlaybackStatus").toString(), QLatin1String("Stopped"));
  EXPECT_TRUE(WaitFor([this] { return LastStatusTold() == QLatin1String("Stopped"); }));
}

TEST_F(MediaPlayerBusTest, MetadataAndPositionAreThePictureOnScreens) {
  StartPlayer();
  OpenDisc();
  Event(kDVDEventPlayback, kDVDStatePaused);
  QString const disc = GrabStillChoices::DiscName(c->mMediaPath);
  QVariantMap metadata = Metadata();
  EXPECT_EQ(metadata.value(QStringLiteral("xesam:title")).toString(), disc + QStringLiteral(", Title 1, Chapter 2"));
  EXPECT_EQ(metadata.value(QStringLiteral("mpris:length")).toLongLong(), 30030000);
  QString const track = metadata.value(QStringLiteral("mpris:trackid")).value<QDBusObjectPath>().path();
  EXPECT_THAT(track.toStdString(), testing::MatchesRegex("/org/tavelo/Tavelo/Disc[0-9]+/Title1"));
  EXPECT_EQ(Property(kPlayer, "Position").toLongLong(), 10010000);
  EXPECT_TRUE(Property(kPlayer, "CanSeek").toBool());
  EXPECT_TRUE(Property(kPlayer, "CanGoNext").toBool());
  EXPECT_TRUE(Property(kPlayer, "CanGoPrevious").toBool());

  // The picture moves on to chapter 3: told without an event, by the player's own look.
  S().presentedChapter = 3;
  S().frameInTitle = 600;
  EXPECT_TRUE(WaitFor([this, &disc] {
    for (QVariantMap const& change : mSignals.changes) {
      QVariantMap const told = qdbus_cast<QVariantMap>(change.value(QStringLiteral("Metadata")));
      if (told.value(QStringLiteral("xesam:title")).toString() == disc + QStringLiteral(", Title 1, Chapter 3")) return true;
    }
    return false;
  }));
  EXPECT_FALSE(Property(kPlayer, "CanGoNext").toBool());  // the last chapter
  EXPECT_EQ(Property(kPlayer, "Position").toLongLong(), 20020000);

  // On the disc's menu: no title, no length, no position.
  S().presentedTitle = 0;
  S().frameInTitle = kDVDNoFrame;
  metadata = Metadata();
  EXPECT_EQ(metadata.value(QStringLiteral("xesam:title")).toString(), disc + QStringLiteral(", Menu"));
  EXPECT_FALSE(metadata.contains(QStringLiteral("mpris:length")));
  EXPECT_EQ(Property(kPlayer, "Position").toLongLong(), 0);
  EXPECT_FALSE(Property(kPlayer, "CanSeek").toBool());
}

TEST_F(MediaPlayerBusTest, MethodsAreTheControllersCommands) {
  StartPlayer();
  OpenDisc();
  Event(kDVDEventPlayback, kDVDStatePlaying);
  S().calls.clear();
  Call(kPlayer, "PlayPause");
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 1);
  Event(kDVDEventPlayback, kDVDStatePaused);
  Call(kPlayer, "PlayPause");
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 1);
  Event(kDVDEventPlayback, kDVDStatePlaying);
  Call(kPlayer, "Pause");
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 2);
  Event(kDVDEventPlayback, kDVDStatePaused);
  Call(kPlayer, "Play");
  EXPECT_EQ(fake_dvd::Calls("DVDPlay"), 2);
  Event(kDVDEventPlayback, kDVDStatePlaying);
  Call(kPlayer, "Next");
  EXPECT_EQ(fake_dvd::Calls("DVDNextChapter"), 1);
  Call(kPlayer, "Previous");
  EXPECT_EQ(fake_dvd::Calls("DVDPreviousChapter"), 1);
  Call(kPlayer, "Stop");
  EXPECT_EQ(fake_dvd::Calls("DVDStop"), 1);
  // A rate of 0 is a pause; others are not ours to play at.
  Event(kDVDEventPlayback, kDVDStatePlaying);
  QDBusMessage const set = Call("org.freedesktop.DBus.Properties", "Set",
                                {QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Rate"),
                                 QVariant::fromValue(QDBusVariant(0.0))});
  EXPECT_EQ(set.type(), QDBusMessage::ReplyMessage) << set.errorMessage().toStdString();
  EXPECT_EQ(fake_dvd::Calls("DVDPause"), 3);
  int const requests = NSApp->terminateRequests();
  Call(kRoot, "Quit");
  EXPECT_EQ(NSApp->terminateRequests(), requests + 1);
}

TEST_F(MediaPlayerBusTest, VolumeIsTheControllersSliderFromZeroToOne) {
  StartPlayer();
  OpenDisc();
  S().minVolume = 0;
  S().curVolume = 51;
  S().maxVolume = 255;
  EXPECT_DOUBLE_EQ(Property(kPlayer, "Volume").toDouble(), 0.2);
  QDBusMessage const set = Call("org.freedesktop.DBus.Properties", "Set",
                                {QStringLiteral("org.mpris.MediaPlayer2.Player"), QStringLiteral("Volume"),
                                 QVariant::fromValue(QDBusVariant(0.6))});
  EXPECT_EQ(set.type(), QDBusMessage::ReplyMessage) << set.errorMessage().toStdString();
  EXPECT_EQ(S().setVolume, 153);
}

TEST_F(MediaPlayerBusTest, SeekAndSetPositionGoToTheFrameAndAreSignalled) {
  StartPlayer();
  OpenDisc();
  Event(kDVDEventPlayback, kDVDStatePaused);
  // From frame 300 (10.010 s), 5.005 s back: frame 150.
  Call(kPlayer, "Seek", {QVariant::fromValue(qlonglong(-5005000))});
  EXPECT_THAT(S().seeks, ElementsAre(150u));
  EXPECT_TRUE(WaitFor([this] { return !mSignals.seeks.empty(); }));
  EXPECT_THAT(mSignals.seeks, Contains(5005000));
  // Before the start: the start.
  Call(kPlayer, "Seek", {QVariant::fromValue(qlonglong(-60000000))});
  EXPECT_THAT(S().seeks, ElementsAre(150u, 0u));
  // Past the end: the next chapter.
  S().frameInTitle = 300;
  S().calls.clear();
  Call(kPlayer, "Seek", {QVariant::fromValue(qlonglong(60000000))});
  EXPECT_EQ(fake_dvd::Calls("DVDNextChapter"), 1);
  EXPECT_EQ(S().seeks.size(), 2u);

  QString const track = Metadata().value(QStringLiteral("mpris:trackid")).value<QDBusObjectPath>().path();
  // Another track's position, or one outside the title, is ignored.
  Call(kPlayer, "SetPosition", {QVariant::fromValue(QDBusObjectPath(QStringLiteral("/org/tavelo/Tavelo/Other"))),
                                QVariant::fromValue(qlonglong(1000000))});
  Call(kPlayer, "SetPosition", {QVariant::fromValue(QDBusObjectPath(track)), QVariant::fromValue(qlonglong(-1))});
  Call(kPlayer, "SetPosition", {QVariant::fromValue(QDBusObjectPath(track)), QVariant::fromValue(qlonglong(40000000))});
  EXPECT_EQ(S().seeks.size(), 2u);
  // 20.020 s: frame 600.
  Call(kPlayer, "SetPosition", {QVariant::fromValue(QDBusObjectPath(track)), QVariant::fromValue(qlonglong(20020000))});
  EXPECT_THAT(S().seeks, ElementsAre(150u, 0u, 600u));
  EXPECT_TRUE(WaitFor([this] {
    return std::find(mSignals.seeks.begin(), mSignals.seeks.end(), 20020000) != mSignals.seeks.end();
  }));
}

TEST_F(MediaPlayerBusTest, TheScreenIsKeptAwakeWhilePlayingOnly) {
  StandInScreenSaver& saver = StartScreenSaver();

  StartPlayer();
  mInhibitor = std::make_unique<DVDScreenSaverInhibitor>();
  ASSERT_TRUE(mInhibitor->Construct(*mPlayerBus));
  EXPECT_EQ(mInhibitor->WhichDesktop(), DVDScreenSaverInhibitor::kScreenSaver);
  QObject::connect(mPlayer.get(), &DVDMediaPlayerBus::playingChanged, mInhibitor.get(),
                   &DVDScreenSaverInhibitor::SetInhibited);
  OpenDisc();
  Event(kDVDEventPlayback, kDVDStatePlaying);
  EXPECT_TRUE(WaitFor([this] { return mInhibitor->Held(); }));
  EXPECT_THAT(saver.Calls(), ElementsAre("Inhibit Tavelo 7"));
  Event(kDVDEventPlayback, kDVDStatePaused);
  EXPECT_TRUE(WaitFor([&saver] { return saver.Calls().size() == 2; }));
  EXPECT_THAT(saver.Calls(), ElementsAre("Inhibit Tavelo 7", "UnInhibit 7"));
  EXPECT_FALSE(mInhibitor->Held());
  // Playing again, then stopped; playing again, then closed; then playing at quit.
  Event(kDVDEventPlayback, kDVDStatePlaying);
  EXPECT_TRUE(WaitFor([this] { return mInhibitor->Held(); }));
  Event(kDVDEventPlayback, kDVDStateStopped);
  EXPECT_TRUE(WaitFor([&saver] { return saver.Calls().size() == 4; }));
  Event(kDVDEventPlayback, kDVDStatePlaying);
  EXPECT_TRUE(WaitFor([this] { return mInhibitor->Held(); }));
  c->closeMedia();
  EXPECT_TRUE(WaitFor([&saver] { return saver.Calls().size() == 6; }));
  OpenDisc();
  Event(kDVDEventPlayback, kDVDStatePlaying);
  EXPECT_TRUE(WaitFor([this] { return mInhibitor->Held(); }));
  // At quit the release is not left on its way: it has been taken when this returns.
  mInhibitor->ReleaseNow();
  EXPECT_FALSE(mInhibitor->Held());
  EXPECT_EQ(saver.Calls().size(), 8u);
  EXPECT_THAT(saver.Calls(), ElementsAre("Inhibit Tavelo 7", "UnInhibit 7", "Inhibit Tavelo 8", "UnInhibit 8",
                                       "Inhibit Tavelo 9", "UnInhibit 9", "Inhibit Tavelo 10", "UnInhibit 10"));
}

TEST_F(MediaPlayerBusTest, AnInhibitionGrantedAfterThePauseIsGivenBackAtOnce) {
  StandInScreenSaver& saver = StartScreenSaver();
  mInhibitor = std::make_unique<DVDScreenSaverInhibitor>();
  ASSERT_TRUE(mInhibitor->Construct(*mPlayerBus));
  // Asked and taken back before the answer comes.
  mInhibitor->SetInhibited(true);
  mInhibitor->SetInhibited(false);
  EXPECT_TRUE(WaitFor([&saver] { return saver.Calls().size() == 2; }));
  EXPECT_THAT(saver.Calls(), ElementsAre("Inhibit Tavelo 7", "UnInhibit 7"));
  EXPECT_FALSE(mInhibitor->Held());
}

#include "MediaPlayerBusTest.moc"
