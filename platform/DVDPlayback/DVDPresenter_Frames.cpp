// The presenter's pictures by frame: where each belongs in its title, the ones kept for
// steps back, seek and step targets, and the streams shown.
#include "DVDPresenter.h"

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
}

namespace dvd {

namespace {

// Pictures kept once shown or passed over: a picture group and more, so that a run of steps
// back decodes each group once.
constexpr size_t kMaxKept = 48;

}  // namespace

std::shared_ptr<AVFrame const> DVDPresenter::Own(AVFrame* frame) {
  return std::shared_ptr<AVFrame const>(frame, [](AVFrame const* f) {
    AVFrame* owned = const_cast<AVFrame*>(f);
    av_frame_free(&owned);
  });
}

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

DVDPicturePosition DVDPresenter::PositionAt(int64_t due, AVFrame const* picture) {
  DVDPicturePosition position;
  for (auto it = mPlaced.rbegin(); it != mPlaced.rend(); ++it) {
    if (it->clockStart > due) continue;
    DVDVobuTiming const& t = it->timing;
    int64_t const into = (due - it->clockStart) * t.speed;
    position.title = t.title;
    position.chapter = t.chapter;
    position.forcedSubpicturesOnly = t.forcedSubpicturesOnly;
    position.subpictureStream = t.subpictureStream;
    if (t.title > 0) {
      position.titleTime = t.titleTime + into;
      int64_t const ft = t.frameTicks;
      if (t.firstFrame >= 0 && ft > 0) {
        // The group's time code names the first frame its first picture is on screen for.
        int64_t const ticks = it->ticksIn + into;
        if (it->halfway < 0 && picture) {
          // Told by the first picture decoded of it (after a jump, the group's first ones
          // may not be): half frames into the group, and which field the picture starts on.
          int64_t const halves = (2 * ticks + ft / 2) / ft;
          it->halfway = int((halves + (StartsHalfway(picture) ? 1 : 0)) % 2);
        }
        int64_t const start = t.firstFrame * ft - (it->halfway == 1 ? ft / 2 : 0) + ticks;
        position.frameInTitle = FirstFrameFrom(start, ft);
        if (t.speed == 1 && !t.keyFramesOnly) {
          int64_t const end = FirstFrameFrom(start + PictureTicks(picture, ft), ft);
          position.framesShown = std::max<int64_t>(1, end - position.frameInTitle);
        }
      }
    }
    return position;
  }
  // Placed before anything still known: where the last picture was.
  position = mShownPosition;
  return position;
}

DVDPicturePosition const* DVDPresenter::Covering(int title, int64_t frame) const {
  if (mShown && mShownPosition.Covers(title, frame)) return &mShownPosition;
  for (Kept const& k : mKept) {
    if (k.position.Covers(title, frame)) return &k.position;
  }
  for (Frame const& f : mQueue) {
    if (f.position.Covers(title, frame)) return &f.position;
  }
  return nullptr;
}

DVDPicturePosition DVDPresenter::PictureShowing(int title, int64_t frame) {
  DVDPicturePosition none;
  none.title = title;
  none.frameInTitle = frame;
  if (JumpOnItsWay()) return none;
  std::lock_guard<std::mutex> g(mMutex);
  DVDPicturePosition const* const p = Covering(title, frame);
  return p ? *p : none;
}

void DVDPresenter::DoSetTarget(int64_t frame) {
  // In order with the pictures decoded before it and the jumps that clear them.
  mVideoWork.Post(DVDDecodeFeed::Kind::Target, [this, frame] { ApplyTarget(frame); }, frame);
}

void DVDPresenter::ApplyTarget(int64_t frame) {
  std::lock_guard<std::mutex> g(mMutex);
  mTarget = frame;
  mTargetCheck = true;
  mWake.notify_all();
}

bool DVDPresenter::TargetPending() { return Target() >= 0; }

bool DVDPresenter::AfterMissing() {
  std::lock_guard<std::mutex> g(mMutex);
  return mAfterMissing;
}

void DVDPresenter::DoSelectStreams(int audio, int subpicture, bool forcedOnly) {
  // What was queued of the other track goes.
  if (audio != mTiming.audioStream) FlushAudio();
  mTiming.audioStream = audio;
  mTiming.subpictureStream = subpicture;
  mTiming.forcedSubpicturesOnly = forcedOnly;
  mVideoWork.Post(DVDDecodeFeed::Kind::Other,
                  [=, this] { ApplyStreams(subpicture, forcedOnly); });
}

void DVDPresenter::ApplyStreams(int subpicture, bool forcedOnly) {
  std::lock_guard<std::mutex> g(mMutex);
  auto const apply = [&](DVDPicturePosition& p) {
    p.subpictureStream = subpicture;
    p.forcedSubpicturesOnly = forcedOnly;
  };
  for (auto& placed : mPlaced) {
    placed.timing.subpictureStream = subpicture;
    placed.timing.forcedSubpicturesOnly = forcedOnly;
  }
  for (auto& frame : mQueue) apply(frame.position);
  for (auto& kept : mKept) apply(kept.position);
  apply(mShownPosition);
  mRecompose = mShown != nullptr;
  mWake.notify_all();
}

int64_t DVDPresenter::Target() {
  int64_t queued = -1;
  if (mFeed.QueuedTarget(&queued) || mVideoWork.QueuedTarget(&queued)) return queued;
  std::lock_guard<std::mutex> g(mMutex);
  return mTarget;
}

bool DVDPresenter::HasPicture(int title, int64_t frame) {
  // A jump on its way clears what is queued.
  if (JumpOnItsWay()) return false;
  std::lock_guard<std::mutex> g(mMutex);
  return Covering(title, frame) != nullptr;
}

DVDPicturePosition DVDPresenter::Shown() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mShown) return {};
  return mShownPosition;
}

void DVDPresenter::Keep(std::shared_ptr<AVFrame const> frame, DVDPicturePosition const& position) {
  if (position.frameInTitle < 0) return;
  if (!mKept.empty() && mKept.back().position.title != position.title) mKept.clear();
  std::erase_if(mKept, [&](Kept const& k) {
    return k.position.frameInTitle == position.frameInTitle;
  });
  mKept.push_back({std::move(frame), position});
  while (mKept.size() > kMaxKept) mKept.pop_front();
}

void DVDPresenter::ShowQueued() {
  Frame const f = mQueue.front();
  mQueue.pop_front();
  // Pictures are kept for steps in the title on screen only.
  if (mShown && mShownPosition.title == f.position.title) {
    Keep(mShown, mShownPosition);
  } else {
    mKept.clear();
  }
  mShown = Own(f.frame);
  mShownDue = f.due;
  mShownPosition = f.position;
}

bool DVDPresenter::ShowTarget() {
  mTargetCheck = false;
  // The target is a frame of the title on screen (kept pictures may be of the one before);
  // it may be the second frame a film picture is shown for.
  int const title = mShown ? mShownPosition.title : 0;
  auto const shows = [&](DVDPicturePosition const& p) { return p.Covers(title, mTarget); };
  auto const kept = std::find_if(mKept.begin(), mKept.end(),
                                 [&](Kept const& k) { return shows(k.position); });
  if (kept != mKept.end()) {
    Kept const k = *kept;
    if (mShown) Keep(mShown, mShownPosition);
    mShown = k.frame;
    mShownPosition = k.position;
    mShownDue = mClock.Now();
    mTarget = -1;
    return true;
  }
  if (mShown && shows(mShownPosition)) {
    mTarget = -1;
    return true;
  }
  // What comes before the target is decoded on the way only.
  while (!mQueue.empty() && mQueue.front().position.frameInTitle >= 0 &&
         mQueue.front().position.frameInTitle + mQueue.front().position.framesShown <=
             mTarget) {
    Keep(Own(mQueue.front().frame), mQueue.front().position);
    mQueue.pop_front();
  }
  if (mQueue.empty()) return false;
  ShowQueued();
  mTarget = -1;
  return true;
}

std::shared_ptr<AVFrame const> DVDPresenter::Neighbour(DVDPicturePosition const& position,
                                                       int delta) const {
  if (position.frameInTitle < 0) return nullptr;
  // The pictures just before and after it, however many frames each is shown for.
  int64_t const frame = delta < 0 ? position.frameInTitle - 1
                                  : position.frameInTitle + position.framesShown;
  auto const is = [&](DVDPicturePosition const& p) { return p.Covers(position.title, frame); };
  for (Kept const& k : mKept) {
    if (is(k.position)) return k.frame;
  }
  for (Frame const& f : mQueue) {
    // Queued frames stay owned by the queue; the picture holds a reference of its own.
    if (is(f.position)) {
      AVFrame* const ref = av_frame_clone(f.frame);
      return ref ? Own(ref) : nullptr;
    }
  }
  return nullptr;
}

}  // namespace dvd
