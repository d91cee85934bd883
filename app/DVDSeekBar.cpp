#include "DVDSeekBar.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

#include "StillNames.h"
#include "StillPlan.h"
#include "StillTitleInfo.h"



namespace {

constexpr int kSide = 6;  // room for the handle at either end

}  // namespace

DVDSeekBar::DVDSeekBar(QWidget* parent) : QWidget(parent) {
  setMouseTracking(true);
  setMinimumHeight(14);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  mPoll.setInterval(100);
  connect(&mPoll, &QTimer::timeout, this, &DVDSeekBar::refresh);
  mPoll.start();
}

void DVDSeekBar::refresh() {
  UInt16 title = 0;
  if (DVDGetTitle(&title) != noErr) title = 0;
  if (title != mTitle) {
    mTitle = title;
    mFrames = 0;
    mChapters.clear();
    StillTitleInfo info;
    if (title > 0 && StillTitleInfo::Read(title, &info)) {
      mFrames = info.info.frames;
      mPAL = info.PAL();
      mChapters = std::move(info.chapterFirstFrames);
    }
    setEnabled(mFrames > 0);
    update();
  }
  UInt32 frame = 0;
  if (mFrames > 0 && DVDGetFrameInTitle(&frame) == noErr && frame != mFrame) {
    mFrame = frame;
    update();
  }
}

QRect DVDSeekBar::Track() const {
  return QRect(kSide, height() / 2 - 2, std::max(1, width() - 2 * kSide), 4);
}

int DVDSeekBar::XOfFrame(uint32_t frame) const {
  QRect const track = Track();
  if (mFrames <= 1) return track.left();
  return track.left() + int(int64_t(frame) * (track.width() - 1) / int64_t(mFrames - 1));
}

uint32_t DVDSeekBar::FrameAtX(int x) const {
  QRect const track = Track();
  if (mFrames == 0) return 0;
  int const at = std::clamp(x - track.left(), 0, track.width() - 1);
  if (track.width() <= 1) return 0;
  // The nearest frame to the pointer.
  int64_t const frame = (int64_t(at) * (mFrames - 1) + (track.width() - 1) / 2) / (track.width() - 1);
  return uint32_t(std::clamp<int64_t>(frame, 0, mFrames - 1));
}

QString DVDSeekBar::PlaceText(uint32_t frame) const {
  return tr("%1, chapter %2")
      .arg(StillNames::ClockText(StillPlan::FrameMs(frame, mPAL)))
      .arg(StillPlan::ChapterOf(frame, mChapters));
}

void DVDSeekBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing, true);
  QRect const track = Track();
  QPalette const& p = palette();
  painter.fillRect(track, p.color(QPalette::Mid));
  if (mFrames == 0) return;
  int const at = XOfFrame(mFrame);
  painter.fillRect(QRect(track.left(), track.top(), at - track.left() + 1, track.height()),
                   p.color(QPalette::Highlight));
  // Chapter marks: a tick above and below the track at each chapter's first frame.
  painter.setPen(QPen(p.color(QPalette::WindowText), 1));
  for (size_t i = 1; i < mChapters.size(); ++i) {
    int const x = XOfFrame(mChapters[i]);
    painter.drawLine(x, track.top() - 4, x, track.bottom() + 4);
  }
  painter.setBrush(p.color(QPalette::Highlight));
  painter.setPen(QPen(p.color(QPalette::Dark), 1));
  painter.drawEllipse(QPoint(at, track.center().y()), 5, 5);
}

bool DVDSeekBar::event(QEvent* event) {
  // The tip that comes when the pointer rests tells the place under it too; the widget's own
  // tip (how to use the bar) is for when there is nothing to seek.
  if (event->type() == QEvent::ToolTip && mFrames > 0) {
    auto const* help = static_cast<QHelpEvent*>(event);
    QToolTip::showText(help->globalPos(), PlaceText(FrameAtX(help->pos().x())), this);
    return true;
  }
  return QWidget::event(event);
}

void DVDSeekBar::SeekTo(int x) {
  if (mFrames == 0) return;
  uint32_t const frame = FrameAtX(x);
  if (frame == mAsked) return;
  mAsked = frame;
  if (DVDSeekToFrame(frame) == noErr) {
    mFrame = frame;
    update();
  }
}

void DVDSeekBar::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || mFrames == 0) return;
  mDragging = true;
  mAsked = UINT32_MAX;
  SeekTo(int(event->position().x()));
}

void DVDSeekBar::mouseMoveEvent(QMouseEvent* event) {
  int const x = int(event->position().x());
  if (mFrames > 0) {
    QToolTip::showText(event->globalPosition().toPoint(), PlaceText(FrameAtX(x)), this);
  }
  if (mDragging) SeekTo(x);
}

void DVDSeekBar::mouseReleaseEvent(QMouseEvent* event) {
  if (mDragging) SeekTo(int(event->position().x()));
  mDragging = false;
}
