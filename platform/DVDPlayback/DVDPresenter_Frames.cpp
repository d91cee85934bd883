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

DVDPicturePosition DVDPresenter::PositionAt(int64_t due) const {
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
      if (t.firstFrame >= 0 && t.frameTicks > 0) {
        position.frameInTitle = t.firstFrame + (into + t.frameTicks / 2) / t.frameTicks;
      }
    }
    return position;
  }
  // Placed before anything still known: where the last picture was.
  position = mShownPosition;
  return position;
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
  auto const is = [&](DVDPicturePosition const& p) {
    return p.title == title && p.frameInTitle == frame;
  };
  if (mShown && is(mShownPosition)) return true;
  for (Kept const& k : mKept) {
    if (is(k.position)) return true;
  }
  for (Frame const& f : mQueue) {
    if (is(f.position)) return true;
  }
  return false;
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
  if (mShown) Keep(mShown, mShownPosition);
  mShown = Own(f.frame);
  mShownDue = f.due;
  mShownPosition = f.position;
}

bool DVDPresenter::ShowTarget() {
  mTargetCheck = false;
  auto const kept = std::find_if(mKept.begin(), mKept.end(), [&](Kept const& k) {
    return k.position.frameInTitle == mTarget;
  });
  if (kept != mKept.end()) {
    Kept const k = *kept;
    if (mShown) Keep(mShown, mShownPosition);
    mShown = k.frame;
    mShownPosition = k.position;
    mShownDue = mClock.Now();
    mTarget = -1;
    return true;
  }
  if (mShown && mShownPosition.frameInTitle == mTarget) {
    mTarget = -1;
    return true;
  }
  // What comes before the target is decoded on the way only.
  while (!mQueue.empty() && mQueue.front().position.frameInTitle >= 0 &&
         mQueue.front().position.frameInTitle < mTarget) {
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
  auto const is = [&](DVDPicturePosition const& p) {
    return p.title == position.title && p.frameInTitle == position.frameInTitle + delta;
  };
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

