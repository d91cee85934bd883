#include "PlaybackTime.h"

#include <QMouseEvent>

#include <cstdint>
#include <cstdio>

PlaybackTime::PlaybackTime(QWidget* parent) : QLabel(parent) {
  timeBase = 0;
  setText(FormatTime(timeBase, timeElapsed, timeRemaining));
}

void PlaybackTime::setTimeElapsed(SInt32 elapsed, SInt32 remaining) {
  timeElapsed = elapsed;
  timeRemaining = remaining;
  setTimeText();
}

QString PlaybackTime::FormatTime(SInt32 base, SInt32 elapsed, SInt32 remaining) {
  SInt32 const value = base == 0 ? elapsed : remaining;
  char const* format = base == 0 ? "%02u:%02u:%02u" : "-%02u:%02u:%02u";
  // Rounded to whole seconds; negative times are not guarded against and read as unsigned.
  SInt32 const seconds = static_cast<SInt32>((static_cast<std::int64_t>(value) + 500) / 1000);
  UInt32 const total = static_cast<UInt32>(seconds);
  UInt32 const hours = total / 3600;
  UInt32 const rest = total - hours * 3600;
  UInt32 const minutes = rest / 60;
  UInt32 const secs = rest - minutes * 60;
  char text[64];
  std::snprintf(text, sizeof text, format, hours, minutes, secs);
  return QString::fromLatin1(text);
}

void PlaybackTime::setTimeText() {
  setText(FormatTime(timeBase, timeElapsed, timeRemaining));
  update();
}

void PlaybackTime::mousePressEvent(QMouseEvent* event) {
  timeBase = timeBase == 0 ? 1 : 0;
  setTimeText();
  QLabel::mousePressEvent(event);
}
