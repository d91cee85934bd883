// The player on the desktop's session bus: MPRIS2 as org.mpris.MediaPlayer2.tavelo, so media
// keys, the desktop's media widgets and playerctl drive the controller's own commands; and a
// grab command beside it, since a Wayland desktop gives a program no keys of its own while
// another window has the focus. The state it tells is the picture on screen's: its title,
// chapter and frame. Without a session bus the program runs on without it.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include "DVDPlayback.h"

class GrabDVDController;
class QWidget;

class DVDMediaPlayerBus : public QObject {
  Q_OBJECT

 public:
  static char const kServiceName[];   // org.mpris.MediaPlayer2.tavelo
  static char const kObjectPath[];    // /org/mpris/MediaPlayer2
  static char const kDesktopEntry[];  // the desktop file's name, without .desktop
  static char const kNoTrack[];

  DVDMediaPlayerBus();
  ~DVDMediaPlayerBus() override;

  // Puts the player on bus for controller and its video window; false when the bus or the
  // name cannot be had (logged). The playback state is followed all the same.
  bool Construct(GrabDVDController* controller, QWidget* videoWindow, QDBusConnection bus);
  // Follows the playback service's events: once its session has begun. Stop before it ends.
  bool Start();
  void Stop();
  // The bus name held; empty when none.
  QString const& ServiceName() const { return mServiceName; }

  // Where the picture on screen is.
  struct Place {
    bool media = false;
    UInt16 title = 0;        // 0 on a menu
    UInt16 chapter = 0;
    UInt16 chapters = 0;
    UInt32 frame = kDVDNoFrame;
    UInt32 frames = 0;       // the title's
    DVDVideoStandard standard = kDVDVideoStandardUnknown;
  };
  Place PlaceOnScreen() const;
  // Frame n of a title is on screen from this microsecond; and the frame on screen then.
  static qint64 FrameStartMicroseconds(UInt32 frame, DVDVideoStandard standard);
  static UInt32 FrameAtMicroseconds(qint64 position, DVDVideoStandard standard);

  // The properties, as MPRIS names and types them.
  QString PlaybackStatus() const;
  QVariantMap Metadata() const;
  qlonglong Position() const;
  double Volume() const;
  void SetVolume(double volume);
  bool CanGoNext() const;
  bool CanGoPrevious() const;
  bool CanPlay() const;
  bool CanPause() const;
  bool CanSeek() const;
  bool Playing() const;

  // The methods: each is the controller's command of that name.
  void PlayPause();
  void Play();
  void Pause();
  void StopPlayback();
  void Next();
  void Previous();
  void Seek(qlonglong offset);
  void SetPosition(QDBusObjectPath const& trackId, qlonglong position);
  void OpenUri(QString const& uri);
  void Raise();
  void Quit();
  void QuickSave();

  // Reads the state again and tells the bus what changed (PropertiesChanged, and Seeked
  // when the picture jumped where playing would not have taken it).
  void Refresh();

  // The service's thread: hand on to the main thread.
  static void EventCallBack(DVDEventCode code, DVDEventValue data1, DVDEventValue data2,
                            void* refCon);

 signals:
  // Playing (not paused, stopped or closed) began or ended.
  void playingChanged(bool playing);
  void seeked(qlonglong position);

 private:
  QString TrackIdOf(Place const& place) const;
  void SeekToFrame(Place const& place, UInt32 frame);
  void SendPropertiesChanged(char const* interfaceName, QVariantMap const& changed);

  // What was last told.
  struct Told {
    bool valid = false;
    QString status;
    QVariantMap metadata;
    bool canGoNext = false, canGoPrevious = false, canPlay = false, canPause = false,
         canSeek = false;
    double volume = -1.0;
    bool playing = false;
    QString trackId;
    qint64 position = 0;
    qint64 clock = 0;
  };

  QPointer<GrabDVDController> mController;
  QPointer<QWidget> mVideoWindow;
  QDBusConnection mBus;
  QString mServiceName;
  DVDEventCallBackRef mCallBackID = 0;
  SInt32 mState = kDVDStateUnknown;
  QString mMediaPath;
  unsigned mMediaSerial = 0;
  Told mTold;
  qint64 mSeekAsked = -1;  // the position of a seek asked here, until the picture is there
  qint64 mSeekAskedClock = 0;
  QElapsedTimer mClock;
  // Looks again a few times a second: a picture that comes after its event (a chapter
  // shown paused, a step) and the volume set in the windows change no event of their own.
  QTimer mPoll;
};

// org.mpris.MediaPlayer2: the application.
class DVDMediaPlayerRootAdaptor : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
  Q_PROPERTY(bool CanQuit READ CanQuit)
  Q_PROPERTY(bool CanRaise READ CanRaise)
  Q_PROPERTY(bool HasTrackList READ HasTrackList)
  Q_PROPERTY(QString Identity READ Identity)
  Q_PROPERTY(QString DesktopEntry READ DesktopEntry)
  Q_PROPERTY(QStringList SupportedUriSchemes READ SupportedUriSchemes)
  Q_PROPERTY(QStringList SupportedMimeTypes READ SupportedMimeTypes)

 public:
  explicit DVDMediaPlayerRootAdaptor(DVDMediaPlayerBus* player);

  bool CanQuit() const { return true; }
  bool CanRaise() const { return true; }
  bool HasTrackList() const { return false; }
  QString Identity() const;
  QString DesktopEntry() const;
  QStringList SupportedUriSchemes() const;
  QStringList SupportedMimeTypes() const;

 public slots:
  void Raise() { mPlayer->Raise(); }
  void Quit() { mPlayer->Quit(); }

 private:
  DVDMediaPlayerBus* mPlayer;
};

// org.mpris.MediaPlayer2.Player: playback. Rate is 1 always; positions are microseconds.
class DVDMediaPlayerPlayerAdaptor : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
  Q_PROPERTY(QString PlaybackStatus READ PlaybackStatus)
  Q_PROPERTY(double Rate READ Rate WRITE SetRate)
  Q_PROPERTY(QVariantMap Metadata READ Metadata)
  Q_PROPERTY(double Volume READ Volume WRITE SetVolume)
  Q_PROPERTY(qlonglong Position READ Position)
  Q_PROPERTY(double MinimumRate READ Rate)
  Q_PROPERTY(double MaximumRate READ Rate)
  Q_PROPERTY(bool CanGoNext READ CanGoNext)
  Q_PROPERTY(bool CanGoPrevious READ CanGoPrevious)
  Q_PROPERTY(bool CanPlay READ CanPlay)
  Q_PROPERTY(bool CanPause READ CanPause)
  Q_PROPERTY(bool CanSeek READ CanSeek)
  Q_PROPERTY(bool CanControl READ CanControl)

 public:
  explicit DVDMediaPlayerPlayerAdaptor(DVDMediaPlayerBus* player);

  QString PlaybackStatus() const { return mPlayer->PlaybackStatus(); }
  double Rate() const { return 1.0; }
  // Only the normal rate: 0 pauses, as the interface asks; any other leaves it as it is.
  void SetRate(double rate);
  QVariantMap Metadata() const { return mPlayer->Metadata(); }
  double Volume() const { return mPlayer->Volume(); }
  void SetVolume(double volume) { mPlayer->SetVolume(volume); }
  qlonglong Position() const { return mPlayer->Position(); }
  bool CanGoNext() const { return mPlayer->CanGoNext(); }
  bool CanGoPrevious() const { return mPlayer->CanGoPrevious(); }
  bool CanPlay() const { return mPlayer->CanPlay(); }
  bool CanPause() const { return mPlayer->CanPause(); }
  bool CanSeek() const { return mPlayer->CanSeek(); }
  bool CanControl() const { return true; }

 public slots:
  void Next() { mPlayer->Next(); }
  void Previous() { mPlayer->Previous(); }
  void Pause() { mPlayer->Pause(); }
  void PlayPause() { mPlayer->PlayPause(); }
  void Stop() { mPlayer->StopPlayback(); }
  void Play() { mPlayer->Play(); }
  void Seek(qlonglong Offset) { mPlayer->Seek(Offset); }
  void SetPosition(QDBusObjectPath const& TrackId, qlonglong Position) {
    mPlayer->SetPosition(TrackId, Position);
  }
  void OpenUri(QString const& Uri) { mPlayer->OpenUri(Uri); }

 signals:
  void Seeked(qlonglong Position);

 private:
  DVDMediaPlayerBus* mPlayer;
};

// org.tavelo.Tavelo.Grab: the grab command (Ctrl+G) for the desktop's own shortcuts.
class DVDMediaPlayerGrabAdaptor : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.tavelo.Tavelo.Grab")

 public:
  explicit DVDMediaPlayerGrabAdaptor(DVDMediaPlayerBus* player);

 public slots:
  // Grabs the picture on screen as the grab defaults say and quick-saves it.
  void QuickSave() { mPlayer->QuickSave(); }

 private:
  DVDMediaPlayerBus* mPlayer;
};
