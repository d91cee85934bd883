// The controller window's time field: elapsed or remaining time of the playing title;
// a click switches between the two.
#pragma once

#include <QLabel>
#include <QString>

#include "MacTypes.h"

class PlaybackTime : public QLabel {
  Q_OBJECT

 public:
  explicit PlaybackTime(QWidget* parent = nullptr);

  void setTimeElapsed(SInt32 elapsed, SInt32 remaining);
  void setTimeText();

  // The text for a mode (0 elapsed, else remaining) and the two times in milliseconds.
  static QString FormatTime(SInt32 timeBase, SInt32 timeElapsed, SInt32 timeRemaining);

  SInt32 timeBase = 0;
  SInt32 timeElapsed = 0;
  SInt32 timeRemaining = 0;

 protected:
  void mousePressEvent(QMouseEvent* event) override;
};
