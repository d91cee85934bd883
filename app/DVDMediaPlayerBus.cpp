#include "DVDMediaPlayerBus.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QFileInfo>
#include <QMetaObject>
#include <QSlider>
#include <QUrl>
#include <QWidget>

#include <cstdlib>

#include "CoreMachDebugLog.h"
#include "GrabDVDController.h"
#include "GrabStillChoices.h"
#include "NSApplication.h"

char const DVDMediaPlayerBus::kServiceName[] = "org.mpris.MediaPlayer2.tavelo";
char const DVDMediaPlayerBus::kObjectPath[] = "/org/mpris/MediaPlayer2";
char const DVDMediaPlayerBus::kDesktopEntry[] = "org.tavelo.Tavelo";
char const DVDMediaPlayerBus::kNoTrack[] = "/org/mpris/MediaPlayer2/TrackList/NoTrack";

namespace {

char const kPlayerInterface[] = "org.mpris.MediaPlayer2.Player";

// A jump of more than this from where playing would have taken the picture is a seek.
constexpr qint64 kSeekedJumpMicroseconds = 2000000;
// A seek asked here is told at once; the picture may take this long to get there.
constexpr qint64 kSeekArrivalMicroseconds = 3000000;
// Twice a second, as a desktop's media widget looks.
constexpr int kPollMilliseconds = 500;

bool PlaybackGoes(SInt32 state) {
  return state == kDVDStatePlaying || state == kDVDStatePlayingStill ||
         state == kDVDStateScanning;
}

}  // namespace

DVDMediaPlayerBus::DVDMediaPlayerBus() : mBus(QString()) {
  mClock.start();
  mPoll.setInterval(kPollMilliseconds);
  connect(&mPoll, &QTimer::timeout, this, &DVDMediaPlayerBus::Refresh);
}

DVDMediaPlayerBus::~DVDMediaPlayerBus() {
  Stop();
  if (!mServiceName.isEmpty()) {
    mBus.unregisterObject(QString::fromLatin1(kObjectPath));
    mBus.unregisterService(mServiceName);
  }
}

bool DVDMediaPlayerBus::Construct(GrabDVDController* controller, QWidget* videoWindow,
                                  QDBusConnection bus) {
  mController = controller;
  mVideoWindow = videoWindow;
  mBus = std::move(bus);
  if (controller) {
    connect(controller, &GrabDVDController::mediaChanged, this, &DVDMediaPlayerBus::Refresh);
  }
  if (!mBus.isConnected()) {
    // A session without a bus (a bare X server, a test): nothing to tell anyone.
    CoreMachDebugLog("media player bus: no session bus, MPRIS is off\n");
    return false;
  }
  // The adaptors are this object's children: the bus finds them through it.
  new DVDMediaPlayerRootAdaptor(this);
  auto* player = new DVDMediaPlayerPlayerAdaptor(this);
  new DVDMediaPlayerGrabAdaptor(this);
  connect(this, &DVDMediaPlayerBus::seeked, player, &DVDMediaPlayerPlayerAdaptor::Seeked);
  if (!CoreVerify(mBus.registerObject(QString::fromLatin1(kObjectPath), this))) return false;
  // A second player takes the name the interface gives further instances.
  QString name = QString::fromLatin1(kServiceName);
  if (!mBus.registerService(name)) {
    name += QStringLiteral(".instance%1").arg(QCoreApplication::applicationPid());
    if (!CoreVerify(mBus.registerService(name))) {
      mBus.unregisterObject(QString::fromLatin1(kObjectPath));
      return false;
    }
  }
  mServiceName = name;
  Refresh();
  return true;
}

bool DVDMediaPlayerBus::Start() {
  if (mCallBackID != 0) return true;
  DVDEventCode const codes[] = {kDVDEventPlayback, kDVDEventPTT, kDVDEventTitle,
                                kDVDEventTitleTime};
  bool const fOk = CoreVerifyOSerr(DVDRegisterEventCallBack(EventCallBack, codes,
                                                            sizeof codes / sizeof codes[0], this,
                                                            &mCallBackID)) == noErr;
  if (!fOk) mCallBackID = 0;
  mPoll.start();
  Refresh();
  return fOk;
}

void DVDMediaPlayerBus::Stop() {
  mPoll.stop();
  if (mCallBackID == 0) return;
  // The session may be over already, and its callbacks with it.
  DVDUnregisterEventCallBack(mCallBackID);
  mCallBackID = 0;
}

void DVDMediaPlayerBus::EventCallBack(DVDEventCode code, DVDEventValue data1, DVDEventValue,
                                      void* refCon) {
  auto* player = static_cast<DVDMediaPlayerBus*>(refCon);
  // Queued calls keep their order; once the player is gone they are dropped.
  QMetaObject::invokeMethod(
      player,
      [player, code, data1] {
        if (code == kDVDEventPlayback) player->mState = static_cast<SInt32>(data1);
        player->Refresh();
      },
      Qt::QueuedConnection);
}

// ---- state

DVDMediaPlayerBus::Place DVDMediaPlayerBus::PlaceOnScreen() const {
  Place place;
  Boolean hasMedia = false;
  if (DVDHasMedia(&hasMedia) != noErr || !hasMedia) return place;
  place.media = true;
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr) {
    // Nothing presented yet: the title the service plays, from its start.
    if (DVDGetTitle(&place.title) != noErr) place.title = 0;
    place.frame = place.title > 0 ? 0 : kDVDNoFrame;
  } else {
    place.title = info.title;
    place.chapter = info.chapter;
    place.frame = info.frameInTitle;
  }
  DVDTitleInfo title{};
  if (place.title > 0 && DVDGetTitleInfo(place.title, &title) == noErr) {
    place.frames = title.frames;
    place.chapters = title.chapters;
    place.standard = title.standard;
  }
  if (place.title > 0 && place.chapter == 0) place.chapter = 1;
  return place;
}

qint64 DVDMediaPlayerBus::FrameStartMicroseconds(UInt32 frame, DVDVideoStandard standard) {
  if (standard == kDVDVideoStandardPAL) return qint64(frame) * 40000;
  // 1001/30000 s a frame: 100100/3 us, rounded down.
  return qint64(frame) * 100100 / 3;
}

UInt32 DVDMediaPlayerBus::FrameAtMicroseconds(qint64 position, DVDVideoStandard standard) {
  if (position <= 0) return 0;
  if (standard == kDVDVideoStandardPAL) return UInt32(position / 40000);
  // The inverse of the rounded-down start: the last frame starting at or before position.
  return UInt32((position * 3 + 2) / 100100);
}

QString DVDMediaPlayerBus::TrackIdOf(Place const& place) const {
  if (!place.media) return QString::fromLatin1(kNoTrack);
  QString const disc = QStringLiteral("/org/tavelo/Tavelo/Disc%1").arg(mMediaSerial);
  return place.title > 0 ? disc + QStringLiteral("/Title%1").arg(place.title)
                         : disc + QStringLiteral("/Menu");
}

bool DVDMediaPlayerBus::Playing() const {
  Boolean hasMedia = false;
  return PlaybackGoes(mState) && DVDHasMedia(&hasMedia) == noErr && hasMedia;
}

QString DVDMediaPlayerBus::PlaybackStatus() const {
  Boolean hasMedia = false;
  if (DVDHasMedia(&hasMedia) != noErr || !hasMedia) return QStringLiteral("Stopped");
  if (PlaybackGoes(mState)) return QStringLiteral("Playing");
  if (mState == kDVDStatePaused) return QStringLiteral("Paused");
  return QStringLiteral("Stopped");
}

QVariantMap DVDMediaPlayerBus::Metadata() const {
  Place const place = PlaceOnScreen();
  QVariantMap metadata;
  metadata.insert(QStringLiteral("mpris:trackid"), QVariant::fromValue(QDBusObjectPath(TrackIdOf(place))));
  if (!place.media) return metadata;
  QString const disc = GrabStillChoices::DiscName(mController ? mController->mMediaPath : QString());
  QString const where = place.title > 0
                            ? tr("Title %1, Chapter %2").arg(place.title).arg(place.chapter)
                            : tr("Menu");
  metadata.insert(QStringLiteral("xesam:title"),
                  disc.isEmpty() ? where : QStringLiteral("%1, %2").arg(disc, where));
  if (!disc.isEmpty()) metadata.insert(QStringLiteral("xesam:album"), disc);
  if (place.title > 0 && place.frames > 0) {
    metadata.insert(QStringLiteral("mpris:length"),
                    QVariant::fromValue(qlonglong(FrameStartMicroseconds(place.frames, place.standard))));
  }
  return metadata;
}

qlonglong DVDMediaPlayerBus::Position() const {
  Place const place = PlaceOnScreen();
  if (place.title == 0 || place.frame == kDVDNoFrame) return 0;
  return FrameStartMicroseconds(place.frame, place.standard);
}

double DVDMediaPlayerBus::Volume() const {
  UInt16 low = 0, now = 0, high = 0;
  if (DVDGetAudioVolumeInfo(&low, &now, &high) != noErr || high <= low) return 0.0;
  return double(now - low) / double(high - low);
}

void DVDMediaPlayerBus::SetVolume(double volume) {
  UInt16 low = 0, now = 0, high = 0;
  if (DVDGetAudioVolumeInfo(&low, &now, &high) != noErr || high <= low) return;
  double const clamped = volume < 0.0 ? 0.0 : (volume > 1.0 ? 1.0 : volume);
  int const value = low + int(clamped * (high - low) + 0.5);
  // Through the controller's slider, whose change is the volume command.
  QSlider* const slider = mController ? mController->mAudioControl.data() : nullptr;
  if (slider) slider->setValue(value);
  else CoreMachDebugVerifyOSerr(DVDSetAudioVolume(UInt16(value)));
}

bool DVDMediaPlayerBus::CanGoNext() const {
  Place const place = PlaceOnScreen();
  return place.title > 0 && place.chapter < place.chapters &&
         (mState == kDVDStatePlaying || mState == kDVDStatePaused);
}

bool DVDMediaPlayerBus::CanGoPrevious() const {
  Place const place = PlaceOnScreen();
  return place.title > 0 && (mState == kDVDStatePlaying || mState == kDVDStatePaused);
}

bool DVDMediaPlayerBus::CanPlay() const {
  Boolean hasMedia = false;
  return DVDHasMedia(&hasMedia) == noErr && hasMedia;
}

bool DVDMediaPlayerBus::CanPause() const { return CanPlay(); }

bool DVDMediaPlayerBus::CanSeek() const {
  Place const place = PlaceOnScreen();
  return place.title > 0 && place.frames > 0;
}

// ---- commands

void DVDMediaPlayerBus::PlayPause() {
  if (mController) mController->onPlayPause(nullptr);
}

void DVDMediaPlayerBus::Play() {
  if (mController) mController->onPlay(nullptr);
}

void DVDMediaPlayerBus::Pause() {
  if (mController) mController->onPause(nullptr);
}

void DVDMediaPlayerBus::StopPlayback() {
  if (mController) mController->onStop(nullptr);
}

void DVDMediaPlayerBus::Next() {
  if (mController) mController->onNextScene(nullptr);
}

void DVDMediaPlayerBus::Previous() {
  if (mController) mController->onPreviousScene(nullptr);
}

void DVDMediaPlayerBus::SeekToFrame(Place const& place, UInt32 frame) {
  if (place.frames == 0) return;
  if (frame >= place.frames) frame = place.frames - 1;
  if (CoreVerifyOSerr(DVDSeekToFrame(frame)) != noErr) return;
  qint64 const position = FrameStartMicroseconds(frame, place.standard);
  // Told now; the refreshes until the picture gets there are not seeks of their own.
  mSeekAsked = position;
  mSeekAskedClock = mClock.nsecsElapsed() / 1000;
  emit seeked(position);
}

void DVDMediaPlayerBus::Seek(qlonglong offset) {
  Place const place = PlaceOnScreen();
  if (place.title == 0 || place.frames == 0 || place.frame == kDVDNoFrame) return;
  qint64 const target = FrameStartMicroseconds(place.frame, place.standard) + offset;
  // Past the end is the next track's business, as the interface has it: the next chapter.
  if (target >= FrameStartMicroseconds(place.frames, place.standard)) {
    Next();
    return;
  }
  SeekToFrame(place, FrameAtMicroseconds(target, place.standard));
}

void DVDMediaPlayerBus::SetPosition(QDBusObjectPath const& trackId, qlonglong position) {
  Place const place = PlaceOnScreen();
  // A position meant for another track, or outside this one, is ignored.
  if (place.title == 0 || place.frames == 0 || trackId.path() != TrackIdOf(place)) return;
  if (position < 0 || position > FrameStartMicroseconds(place.frames, place.standard)) return;
  SeekToFrame(place, FrameAtMicroseconds(position, place.standard));
}

void DVDMediaPlayerBus::OpenUri(QString const& uri) {
  QUrl const url(uri);
  if (!mController || !url.isLocalFile()) return;
  QFileInfo const info(url.toLocalFile());
  // A disc image stands for a volume, as on the command line.
  mController->openMedia(info.absoluteFilePath(), info.isFile());
}

void DVDMediaPlayerBus::Raise() {
  if (!mVideoWindow) return;
  mVideoWindow->show();
  mVideoWindow->raise();
  mVideoWindow->activateWindow();
}

void DVDMediaPlayerBus::Quit() {
  if (NSApp) NSApp->terminate(nullptr);
}

void DVDMediaPlayerBus::QuickSave() {
  if (mController && mController->hasMedia()) mController->grabCurrentFrame(nullptr);
}

// ---- telling what changed

void DVDMediaPlayerBus::SendPropertiesChanged(char const* interfaceName, QVariantMap const& changed) {
  if (mServiceName.isEmpty() || changed.isEmpty()) return;
  QDBusMessage signal = QDBusMessage::createSignal(QString::fromLatin1(kObjectPath),
                                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("PropertiesChanged"));
  signal << QString::fromLatin1(interfaceName) << changed << QStringList();
  CoreMachDebugVerify(mBus.send(signal));
}

void DVDMediaPlayerBus::Refresh() {
  QString const mediaPath = mController ? mController->mMediaPath : QString();
  if (mediaPath != mMediaPath) {
    // Another disc: other tracks, even with the same titles.
    mMediaPath = mediaPath;
    ++mMediaSerial;
  }
  Place const place = PlaceOnScreen();
  Told now;
  now.valid = true;
  now.status = PlaybackStatus();
  now.metadata = Metadata();
  now.canGoNext = CanGoNext();
  now.canGoPrevious = CanGoPrevious();
  now.canPlay = CanPlay();
  now.canPause = CanPause();
  now.canSeek = CanSeek();
  now.volume = Volume();
  now.playing = Playing();
  now.trackId = TrackIdOf(place);
  now.position = place.title > 0 && place.frame != kDVDNoFrame
                     ? FrameStartMicroseconds(place.frame, place.standard)
                     : 0;
  now.clock = mClock.nsecsElapsed() / 1000;

  QVariantMap changed;
  if (!mTold.valid || now.status != mTold.status) changed.insert(QStringLiteral("PlaybackStatus"), now.status);
  if (!mTold.valid || now.metadata != mTold.metadata) {
    changed.insert(QStringLiteral("Metadata"), QVariant::fromValue(now.metadata));
  }
  if (!mTold.valid || now.canGoNext != mTold.canGoNext) changed.insert(QStringLiteral("CanGoNext"), now.canGoNext);
  if (!mTold.valid || now.canGoPrevious != mTold.canGoPrevious) {
    changed.insert(QStringLiteral("CanGoPrevious"), now.canGoPrevious);
  }
  if (!mTold.valid || now.canPlay != mTold.canPlay) changed.insert(QStringLiteral("CanPlay"), now.canPlay);
  if (!mTold.valid || now.canPause != mTold.canPause) changed.insert(QStringLiteral("CanPause"), now.canPause);
  if (!mTold.valid || now.canSeek != mTold.canSeek) changed.insert(QStringLiteral("CanSeek"), now.canSeek);
  if (!mTold.valid || now.volume != mTold.volume) changed.insert(QStringLiteral("Volume"), now.volume);

  // A seek the user made in the windows: the picture is not where playing would have taken it.
  // Paused, any move is one (a step, a chapter).
  bool jumped = false;
  if (mSeekAsked >= 0) {
    qint64 const since = now.clock - mSeekAskedClock;
    bool const arrived = now.position >= mSeekAsked && now.position <= mSeekAsked + since + 500000;
    if (arrived || since > kSeekArrivalMicroseconds) mSeekAsked = -1;
  } else if (mTold.valid && now.trackId == mTold.trackId && mState != kDVDStateScanning) {
    if (!mTold.playing && !now.playing) {
      jumped = now.position != mTold.position;
    } else {
      qint64 const expected = mTold.position + (mTold.playing ? now.clock - mTold.clock : 0);
      jumped = std::llabs(now.position - expected) > kSeekedJumpMicroseconds;
    }
  }
  bool const wasPlaying = mTold.valid && mTold.playing;
  mTold = now;
  SendPropertiesChanged(kPlayerInterface, changed);
  if (jumped) emit seeked(now.position);
  if (now.playing != wasPlaying) emit playingChanged(now.playing);
}

// ---- adaptors

DVDMediaPlayerRootAdaptor::DVDMediaPlayerRootAdaptor(DVDMediaPlayerBus* player)
    : QDBusAbstractAdaptor(player), mPlayer(player) {}

QString DVDMediaPlayerRootAdaptor::Identity() const { return QStringLiteral("Tavelo"); }

QString DVDMediaPlayerRootAdaptor::DesktopEntry() const {
  return QString::fromLatin1(DVDMediaPlayerBus::kDesktopEntry);
}

QStringList DVDMediaPlayerRootAdaptor::SupportedUriSchemes() const { return {QStringLiteral("file")}; }

QStringList DVDMediaPlayerRootAdaptor::SupportedMimeTypes() const {
  // As the desktop file lists them.
  return {QStringLiteral("x-content/video-dvd"), QStringLiteral("application/x-cd-image"),
          QStringLiteral("application/x-iso9660-image"), QStringLiteral("inode/directory")};
}

DVDMediaPlayerPlayerAdaptor::DVDMediaPlayerPlayerAdaptor(DVDMediaPlayerBus* player)
    : QDBusAbstractAdaptor(player), mPlayer(player) {}

void DVDMediaPlayerPlayerAdaptor::SetRate(double rate) {
  if (rate == 0.0) mPlayer->Pause();
}

DVDMediaPlayerGrabAdaptor::DVDMediaPlayerGrabAdaptor(DVDMediaPlayerBus* player)
    : QDBusAbstractAdaptor(player), mPlayer(player) {}
