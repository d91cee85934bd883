// File → Compare With...: another disc's title lined up with the title playing and shown in a
// view of its own, locked to the frame on screen. The playback service is one a process, so
// the other disc is read by two tavelo-grab children: one lines the titles up (until it
// answers the views are at offset 0), the other brings the other disc's frames as they are
// asked for. While the first disc plays only the newest frame is asked for; paused, the
// frame shown is the exact match.
#pragma once

#include <QByteArray>
#include <QEvent>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "DVDPlayback.h"
#include "StillAlign.h"

class DVDCompareView;
class DVDWindowDelegate;

// An alignment as tavelo-grab --compare --json prints it.
struct DVDCompareAlignment {
  int offset = 0;
  double confidence = 0;
  std::vector<StillAlignPiece> pieces;
  uint32_t otherFrames = 0;

  // False when json is not such an alignment.
  bool Construct(QByteArray const& json);
};

class DVDComparison : public QObject {
  Q_OBJECT

 public:
  struct Setup {
    QString first;  // the disc playing
    UInt16 firstTitle = 0;
    QString other;  // the disc compared with it (its longest title)
    QStringList stillArguments;  // tavelo-grab's --size, --deinterlace, --crop as grabs are made
  };

  explicit DVDComparison(QObject* parent = nullptr);
  ~DVDComparison() override;

  // Starts both children and shows the view beside videoWindow; false when tavelo-grab is
  // not there.
  bool Construct(Setup const& setup, QWidget* videoWindow, DVDWindowDelegate* delegate);

  QString const& First() const { return mSetup.first; }
  QString const& Other() const { return mSetup.other; }
  bool LinedUp() const { return mLinedUp; }
  DVDCompareView* View() const { return mView; }
  // The other side over the first's picture, or back beside it.
  void Flip();
  // The other side of the first's frame, given to done once it is shown (at once when it
  // is already); null when the other title has no match for it.
  void TakeOther(uint32_t frame, std::function<void(QImage const&)> done);
  // The other title's frame matching frame of the first (by offset 0 until lined up).
  bool Match(uint32_t frame, uint32_t* other) const;

 signals:
  void status(QString const& text, int milliseconds);
  // The view was closed or the other disc cannot be shown: the comparison is over.
  void ended();

 private:
  // The frame on screen, looked at often: a new one asks for its match.
  // The frame on screen, looked at as each new picture is presented.
  void look();
  // The other side follows the video window as it moves and changes size.
  bool eventFilter(QObject* watched, QEvent* event) override;
  // Asks the follower for the match of the frame wanted, when none is on its way.
  void ask();
  void readFollow();
  void answered(QString const& line);
  void show(uint32_t frame, uint32_t other, QImage const& picture);
  void followEnded();
  void alignmentEnded(int exitCode, QProcess::ExitStatus exitStatus);
  void deliver();

  Setup mSetup;
  QPointer<DVDCompareView> mView;
  QProcess mAlign;
  QProcess mFollow;
  QTemporaryDir mFrames;  // where the follower writes
  QByteArray mPending;  // the follower's output short of a line
  bool mReady = false;  // the follower has the other title open
  bool mEnding = false;
  uint32_t mOtherFrames = 0;
  bool mLinedUp = false;
  DVDCompareAlignment mAlignment;
  uint32_t mWanted = kDVDNoFrame;   // the first's frame on screen
  uint32_t mAskedFor = kDVDNoFrame;  // the first's frame whose match is on its way
  uint32_t mAsked = kDVDNoFrame;     // and that match
  uint32_t mShownFor = kDVDNoFrame;  // the first's frame the view shows the match of
  uint32_t mShown = kDVDNoFrame;     // the other's frame shown
  std::vector<std::pair<uint32_t, std::function<void(QImage const&)>>> mTakes;
};
