// The application's one controller: the session with the DVD playback service, media,
// events, alerts and every playback command. The application's delegate.
#pragma once

#include <QPointer>
#include <QString>

#include <memory>
#include <thread>
#include <vector>

#include "DVDBookmark.h"
#include "DVDEvent.h"
#include "DVDPlayback.h"
#include "GrabStillChoices.h"
#include "GrabWindowController.h"

#include <QAbstractButton>
#include <QDialog>
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QSlider>
#include <QWidget>

#include "DVDVideoWindow.h"
#include "DVDWindowDelegate.h"
#include "PlaybackTime.h"

class DVDComparison;
class DVDFullScreen;
class DVDGrabStrip;
class QKeyEvent;
class QTimer;

class GrabDVDController : public GrabWindowController, public DVDWindowDelegate {
  Q_OBJECT
  Q_INTERFACES(DVDWindowDelegate)

 public:
  explicit GrabDVDController(QObject* parent = nullptr);
  ~GrabDVDController() override;

  // Outlets, connected when the main menu is loaded.
  QPointer<QWidget> mAboutBox;
  QPointer<QAction> mMenuItemAboutApp;
  QPointer<QLabel> mLastGrabImageView;
  QPointer<QAbstractButton> mQuickGrabButton;
  QPointer<QMenu> mGrabDefaultsMenu;
  QPointer<QAbstractButton> mPlayPauseButton;
  QPointer<QSlider> mAudioControl;
  QPointer<QLabel> mSceneText;
  QPointer<QLabel> mTitleText;
  QPointer<QWidget> mControlWindow;
  QPointer<PlaybackTime> mTimeText;
  // Beside the time while paused: the frame on screen.
  QPointer<QLabel> mFrameText;
  // Below the controls: what just happened (an open that failed, the last quick save).
  QPointer<QLabel> mStatusText;
  // The last grabs, beside the quick grab button.
  QPointer<DVDGrabStrip> mGrabStrip;
  QPointer<QWidget> mOpenFailureNotice;
  unsigned mStatusSerial = 0;
  QPointer<DVDVideoWindow> mVideoWindow;
  DVDFullScreen* mFullScreen = nullptr;  // the nib's
  // The batch dialog shown (one at a time).
  QPointer<QDialog> mBatchDialog;
  // File → Compare With...: the other disc beside this one (one at a time).
  QPointer<DVDComparison> mComparison;

  // The bookmarks of the open media, in the order they were made.
  std::vector<std::unique_ptr<DVDBookmark>> mBookmarks;
  QString mVolumePath;  // null when a folder or nothing is open
  QString mMediaPath;   // what is open (folder, volume or image); null when nothing is
  SInt32 mDVDState = 0;
  // The open in flight (null when none), and the last disc chosen meanwhile.
  QString mOpeningPath;
  bool mOpeningIsVolume = false;
  QString mNextOpenPath;
  bool mNextOpenIsVolume = false;
  unsigned mOpenSerial = 0;  // results of abandoned opens are ignored
  unsigned mOpeningStatusSerial = 0;
  std::thread mOpenThread;
  DVDEventCallBackRef mEventCallBackID = 0;
  GrabStillChoices mStillChoices;

  // Shows the frame on screen while paused (looked at a few times a second, as steps
  // change it), and nothing otherwise.
  void updateFrameText();
  QTimer* mFrameTimer = nullptr;

  // The process-wide bookmark cursor, shared by all media.
  static SInt32 sBookmarkCursor;

  void awakeFromNib();
  void awakeFromNibGrab();
  void applicationDidFinishLaunching();
  bool applicationShouldTerminate() const override { return true; }
  void applicationWillTerminate();

  void beginSession();
  void endSession();
  bool searchMountedDVDDisc() { return false; }
  bool isValidMedia(QString const& path, FSRef* folder) const;
  // Starts opening path; false when it is refused at once (not a folder or disc image). The
  // service's open runs on mOpenThread and openFinished takes its result on this thread;
  // mediaOpenFinished tells the end of each open.
  bool openMedia(QString const& path, bool isVolume);
  bool isOpening() const { return !mOpeningPath.isNull(); }
  void openFinished(unsigned serial, QString const& path, bool isVolume, OSStatus result);
  // Forgets an open still running (the session ends): waits for its thread.
  void abandonOpen();
  void closeMedia();
  bool hasMedia() const;
  void resetUI();
  void logMediaInfo();
  SInt32 displayAlertWithMessage(QString const& messageKey, QString const& infoKey);
  void handleDVDEvent(std::shared_ptr<DVDEvent const> const& event);
  void handleDVDError(SInt32 error);

  UInt16 setAudioVolume(bool up);
  bool onKeyDown(QKeyEvent* event) override;
  QObject* delegateObject() override { return this; }
  void launchAppWebPageByID(QString const& page);

  bool validateMenuItem(QAction* item) override;
  bool grabsVideoFrames() const override { return mStillChoices.GrabsVideoFrames(); }
  std::shared_ptr<NSBitmapImageRep> grabVideoFrame() override;
  // Where the screen cannot be read: the video view's picture as it composes it (on the GPU
  // its window cannot be grabbed as a widget), at its size.
  std::shared_ptr<NSBitmapImageRep> grabViewPicture(QWidget* view) override;
  QString quickSavePath(QuikSaveImageType type) const override {
    return mStillChoices.QuickSavePath(mMediaPath, type);
  }
  GrabTaken takeVideoFrame() override {
    return mStillChoices.TakeVideoFrameForSaving(mMediaPath);
  }
  // A queued save is written: its picture is the last grab, its name in the status line.
  void grabSaved(QString const& path) override;
  void quickSaveWritten(QString const& path);
  // The status line: text for milliseconds (0: until replaced); with a folder, a click on it
  // opens it.
  void showStatus(QString const& text, int milliseconds, QString const& folder = QString());
  void openStatusLink(QString const& link);
  // Why path cannot be opened, in a sentence; in the status line and a notice.
  static QString OpenFailureText(QString const& path, OSStatus status);
  void reportOpenFailure(QString const& path, OSStatus status);
  bool validateMenuItemGrab(QAction* item);
  // Shows the last grab in the controller window.
  void grabbedFrameUpdated();
  // The grab just made joins the strip of the last grabs (path: its file, if saved).
  void addToGrabStrip(QString const& path);
  // The batch or contact sheet dialog (a BatchGrabDialog::Mode) for the open disc.
  void showBatchDialog(int mode);
  // Compares the open disc with the disc at otherPath; false when it cannot.
  bool beginComparison(QString const& otherPath);
  void endComparisonNow();
  bool validateMenuItemCompare(QAction* item);
  // The next quick-save name (path without extension) whose pair of files, "<name> A.<ext>"
  // and "<name> B.<ext>", is free; empty when none is.
  QString pairStem(QuikSaveImageType type) const;

  // The web address of a page on a host; empty host: the bundled offline help page.
  static QString AppWebPageAddress(QString const& page, QString const& host);
  // The characters of a key press: Qt's arrow, return, enter and space keys as the
  // toolkit's function-key characters.
  static QString KeyEventCharacters(QKeyEvent const* event);

  // The two service callbacks; the reference value is the controller.
  static void DVDEventCallBack(DVDEventCode code, DVDEventValue data1, DVDEventValue data2,
                               void* refCon);
  static void DVDFatalErrorCallBack(OSStatus error, void* refCon);

 public slots:
  void onMediaFolder(QObject* sender);
  void onPlay(QObject* sender);
  void onPause(QObject* sender);
  void onPlayPause(QObject* sender);
  void onStop(QObject* sender);
  void onScanForward(QObject* sender);
  void onScanBackward(QObject* sender);
  void onNextScene(QObject* sender);
  void onPreviousScene(QObject* sender);
  void onToggleMenu(QObject* sender);
  void onNextAngle(QObject* sender);
  void onVolumeUp(QObject* sender);
  void onVolumeDown(QObject* sender);
  void onAudioVolume(QObject* sender);
  void onMute(QObject* sender);
  void onShowController(QObject* sender);
  void onVideoMax(QObject* sender);
  void onVideoNormal(QObject* sender);
  void onVideoSmall(QObject* sender);
  void onEject(QObject* sender);
  void onNewBookmark(QObject* sender);
  void onNextBookmark(QObject* sender);
  void menuHelpApplicationHelp(QObject* sender);
  void menuHelpCheckUpdates(QObject* sender);
  void menuHelpSharePictures(QObject* sender);
  void orderFrontStandardAboutPanel(QObject* sender);

  // Grab commands. They are wired crosswise on purpose: the first quick-saves, the
  // second only grabs and shows the picture.
  void grabCurrentFrame(QObject* sender);
  void grabCurrentFrameSaveNumberedFile(QObject* sender);

  // Frame stepping: the picture after or before the one on screen, paused.
  void onNextFrame(QObject* sender);
  // Grab -> Batch Grab... / Contact Sheet...: the dialog for the open disc.
  void batchGrab(QObject* sender);
  // Video → Full Screen (F, a double click on the picture; Escape leaves).
  void toggleFullScreen(QObject* sender);
  void contactSheet(QObject* sender);
  void onPreviousFrame(QObject* sender);
  // File → Compare With... and the comparison's commands.
  void compareWith(QObject* sender);
  void flipCompareSides(QObject* sender);
  void grabComparePair(QObject* sender);
  void endComparison(QObject* sender);

  // What grabs take from the video (GrabStillChoices).
  void selectDefault_GrabScreen(QObject* sender);
  void selectDefault_GrabVideoFrame(QObject* sender);
  void selectDefault_SizeSquarePixels(QObject* sender);
  void selectDefault_SizeSquarePixelsITU(QObject* sender);
  void selectDefault_SizeStored(QObject* sender);
  void selectDefault_DeinterlaceAuto(QObject* sender);
  void selectDefault_DeinterlaceOff(QObject* sender);
  void selectDefault_DeinterlaceBlend(QObject* sender);
  void selectDefault_DeinterlaceAdaptive(QObject* sender);
  void selectDefault_JPEGQuality75(QObject* sender);
  void selectDefault_JPEGQuality90(QObject* sender);
  void selectDefault_JPEGQuality100(QObject* sender);
  void selectDefault_NamesNumbered(QObject* sender);
  void selectDefault_NamesDiscTime(QObject* sender);
  void toggleGrabIncludeSubtitles(QObject* sender);
  void toggleGrabCropBorders(QObject* sender);

  void deviceDidMount(QObject* sender);
  void machineWillSleep(QObject* sender);
  void machineDidWake(QObject* sender);

 signals:
  // Media were opened or closed: menu items and their key equivalents change.
  void mediaChanged();
  // An open of path came back, after all that follows it; opened: the disc is open.
  void mediaOpenFinished(QString const& path, bool opened);

 private:
  // Chooses the folder for onMediaFolder; empty when the user cancels.
  QString runOpenPanel();
  // Chooses the disc to compare with: a folder or a disc image; empty when cancelled.
  QString runComparePanel();
};
