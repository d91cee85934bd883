// The controller's seek bar for the title playing: its chapters marked, the position moving
// with playback; a click or a drag goes to the exact frame under the pointer, and hovering
// tells the time and chapter there. It asks the playback service itself (cheap calls that
// never wait on the disc) ten times a second.
#pragma once

#include <QTimer>
#include <QWidget>

#include <cstdint>
#include <vector>

#include "DVDPlayback.h"

class DVDSeekBar : public QWidget {
  Q_OBJECT

 public:
  explicit DVDSeekBar(QWidget* parent = nullptr);

  // The title's frames and chapters, and the frame on screen, as last read.
  UInt16 title() const { return mTitle; }
  uint32_t frames() const { return mFrames; }
  std::vector<uint32_t> const& chapterFrames() const { return mChapters; }
  uint32_t frame() const { return mFrame; }
  // Reads the service now (the timer does so ten times a second).
  void refresh();

  // Where frame is drawn, and the frame at x (both along the track).
  int XOfFrame(uint32_t frame) const;
  uint32_t FrameAtX(int x) const;
  // "m:ss, chapter n" for a frame of this title.
  QString PlaceText(uint32_t frame) const;

  QSize sizeHint() const override { return QSize(320, 18); }
  QSize minimumSizeHint() const override { return QSize(80, 14); }

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  QRect Track() const;
  void SeekTo(int x);

  QTimer mPoll;
  UInt16 mTitle = 0;
  uint32_t mFrames = 0;
  bool mPAL = false;
  std::vector<uint32_t> mChapters;
  uint32_t mFrame = 0;
  bool mDragging = false;
  uint32_t mAsked = UINT32_MAX;  // the last frame a drag asked for
};
