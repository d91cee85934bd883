// The presenter's pictures by frame: the one on screen, the ones kept for steps back, seek
// and step targets, and the streams shown.
#include "DVDPresenter.h"

#include <algorithm>
#include <cstdlib>

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

DVDPicturePosition const* DVDPresenter::Covering(int title, int64_t frame) const {
  if (mShown && mShownPosition.Covers(title, frame)) return &mShownPosition;
  for (Kept const& k : mKept) {
    if (k.position.Covers(title, frame)) return &k.position;
  }
  for (DVDDecodedPicture const& f : mQueue) {
    if (f.position.Covers(title, frame)) return &f.position;
  }
  return nullptr;
}

DVDPicturePosition DVDPresenter::PictureShowing(int title, int64_t frame) {
  DVDPicturePosition none;
  none.title = title;
  none.frameInTitle = frame;
  std::lock_guard<std::mutex> g(mMutex);
  DVDPicturePosition const* const p = Covering(title, frame);
  return p ? *p : none;
}

void DVDPresenter::SetTarget(int64_t frame) {
  std::lock_guard<std::mutex> g(mMutex);
  mTarget = frame;
  mTargetCheck = true;
  mWake.notify_all();
}

bool DVDPresenter::AfterMissing() {
  std::lock_guard<std::mutex> g(mMutex);
  return mAfterMissing;
}

void DVDPresenter::SetStreams(int subpicture, bool forcedOnly) {
  std::lock_guard<std::mutex> g(mMutex);
  auto const apply = [&](DVDPicturePosition& p) {
    p.subpictureStream = subpicture;
    p.forcedSubpicturesOnly = forcedOnly;
  };
  for (auto& frame : mQueue) apply(frame.position);
  for (auto& kept : mKept) apply(kept.position);
  apply(mShownPosition);
  mRecompose = mShown != nullptr;
  mWake.notify_all();
}

int64_t DVDPresenter::Target() {
  std::lock_guard<std::mutex> g(mMutex);
  return mTarget;
}

bool DVDPresenter::HasPicture(int title, int64_t frame) {
  std::lock_guard<std::mutex> g(mMutex);
  return Covering(title, frame) != nullptr;
}

DVDPicturePosition DVDPresenter::Shown() {
  std::lock_guard<std::mutex> g(mMutex);
  if (!mShown) return {};
  return mShownPosition;
}

DVDPicturePosition DVDPresenter::LastShown() {
  std::lock_guard<std::mutex> g(mMutex);
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
  DVDDecodedPicture const f = mQueue.front();
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
  ForgetFarPictures();
}

// Pictures kept from before a seek serve no step from the picture now shown and only hold
// memory: a batch of stills seeks twenty times.
void DVDPresenter::ForgetFarPictures() {
  std::erase_if(mKept, [&](Kept const& k) {
    return std::abs(k.position.frameInTitle - mShownPosition.frameInTitle) > int64_t(kMaxKept);
  });
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
    ForgetFarPictures();
    mShownDue = {mClock.Now(), mMap.Epoch()};
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
  for (DVDDecodedPicture const& f : mQueue) {
    // Queued frames stay owned by the queue; the picture holds a reference of its own.
    if (is(f.position)) {
      AVFrame* const ref = av_frame_clone(f.frame);
      return ref ? Own(ref) : nullptr;
    }
  }
  return nullptr;
}

}  // namespace dvd
