// The picture stage's placing: which picture group a decoded picture belongs to, and so its
// title, chapter and frame. The groups are the picture stage's own, touched on its thread
// only; where they stand after a change of speed is the clock map's to say.
#include "DVDPipeline.h"

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
}

namespace dvd {

namespace {

// A frame on screen at n x frameTicks shows the picture whose time began at or before it.
// Film pictures start halfway through a frame after a repeated field; time stamps of
// pictures without one of their own are worked out in whole ticks, so a quarter of a frame
// is allowed either way.
int64_t FirstFrameFrom(int64_t ticks, int64_t frameTicks) {
  int64_t const t = ticks + frameTicks - frameTicks / 4;
  return t >= 0 ? t / frameTicks : 0;
}

// How long a picture is shown: a repeated first field adds half a frame; in a progressive
// sequence, a frame or two.
int64_t PictureTicks(AVFrame const* f, int64_t frameTicks) {
  return frameTicks + (f && f->repeat_pict > 0 ? frameTicks * f->repeat_pict / 2 : 0);
}

// A film picture that starts on its bottom field, in a stream whose frames start on the top
// one (as NTSC discs' do), starts halfway through a frame.
bool StartsHalfway(AVFrame const* f) {
  DVDFieldOrder const fields = FieldOrderOf(f);
  return !fields.interlaced && !fields.topFieldFirst;
}

}  // namespace

DVDPicturePosition DVDPipeline::PositionAt(int64_t due, AVFrame const* picture) {
  DVDPicturePosition position;
  for (auto it = mPlaced.rbegin(); it != mPlaced.rend(); ++it) {
    DVDVobuTiming const& t = it->timing;
    if (mMap.StartIn(t.place, mVideoEpoch) > due) continue;
    int64_t const into = mMap.TicksInto(t.place, due, mVideoEpoch);
    position.title = t.title;
    position.chapter = t.chapter;
    position.forcedSubpicturesOnly = t.forcedSubpicturesOnly;
    position.subpictureStream = t.subpictureStream;
    if (t.title > 0) {
      position.titleTime = t.titleTime + into;
      int64_t const ft = t.frameTicks;
      if (t.firstFrame >= 0 && ft > 0) {
        // The group's time code names the first frame its first picture is on screen for.
        int64_t const ticks = into;
        if (it->halfway < 0 && picture) {
          // Told by the first picture decoded of it (after a jump, the group's first ones
          // may not be): half frames into the group, and which field the picture starts on.
          int64_t const halves = (2 * ticks + ft / 2) / ft;
          it->halfway = int((halves + (StartsHalfway(picture) ? 1 : 0)) % 2);
        }
        int64_t const start = t.firstFrame * ft - (it->halfway == 1 ? ft / 2 : 0) + ticks;
        position.frameInTitle = FirstFrameFrom(start, ft);
        if (mMap.SpeedIn(t.place.speed, t.place.epoch, mVideoEpoch) == 1 && !t.keyFramesOnly) {
          int64_t const end = FirstFrameFrom(start + PictureTicks(picture, ft), ft);
          position.framesShown = std::max<int64_t>(1, end - position.frameInTitle);
        }
      }
    }
    return position;
  }
  // Placed before anything still known: where the last picture was.
  return mPresenter.LastShown();
}

}  // namespace dvd
