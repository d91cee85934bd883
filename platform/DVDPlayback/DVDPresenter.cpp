#include "DVDPresenter.h"

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
}

namespace dvd {

namespace {

// Reading runs a picture group (up to a second) ahead, so up to two groups of pictures
// wait; more means the clock stopped being followed.
constexpr size_t kMaxQueue = 72;

std::mutex gLatestMutex;  // DVDLockOrder.h: a leaf (8)

// Never destroyed: a program that exits with the service still running destroys the service
// among the other statics, in no set order, and its presenter publishes one last time.
std::shared_ptr<DVDPicture const>& Latest() {
  static auto* const latest = new std::shared_ptr<DVDPicture const>();
  return *latest;
}

void Publish(std::shared_ptr<DVDPicture const> picture) {
  std::lock_guard<std::mutex> g(gLatestMutex);
  Latest() = std::move(picture);
}

}  // namespace

DVDPresenter::DVDPresenter(DVDClock& clock, DVDClockMap& map, DVDSubpictureLayer& layer)
    : mClock(clock), mMap(map), mLayer(layer) {}

DVDPresenter::~DVDPresenter() {
  if (mThread.joinable()) {
    {
      std::lock_guard<std::mutex> g(mMutex);
      mQuit = true;
    }
    mWake.notify_all();
    mThread.join();
  }
  // Its listener takes the presenter's lock: stopped while that is still there, and once
  // nothing composes with it any more.
  mCaptions.reset();
  if (mListener) mClock.RemoveListener(mListener);
  ClearQueue();
  Publish(nullptr);
}

void DVDPresenter::Construct() {
  Publish(nullptr);
  mListener = mClock.AddListener([this] {
    std::lock_guard<std::mutex> g(mMutex);
    mWake.notify_all();
  });
  mThread = std::thread([this] { Run(); });
}

void DVDPresenter::SetCaptionSource(std::string const& path, bool lookUpEarly) {
  mCaptions = std::make_unique<DVDCaptionTrack>(path, lookUpEarly);
  // Captions read while the picture stays (paused) are drawn on it.
  mCaptions->SetListener([this] {
    std::lock_guard<std::mutex> g(mMutex);
    mRecompose = true;
    mWake.notify_all();
  });
}

void DVDPresenter::ShowCaptions(bool shown) {
  if (mCaptions) mCaptions->SetShown(shown);
  std::lock_guard<std::mutex> g(mMutex);
  mRecompose = mShown != nullptr;
  mWake.notify_all();
}

// ---- from the picture stage

void DVDPresenter::Take(DVDDecodedPicture item) {
  std::lock_guard<std::mutex> g(mMutex);
  // In time order: a picture held over a change of speed may come out of turn.
  auto const at = std::upper_bound(
      mQueue.begin(), mQueue.end(), Due(item),
      [this](int64_t d, DVDDecodedPicture const& f) { return d < Due(f); });
  mQueue.insert(at, item);
  while (mQueue.size() > kMaxQueue) {
    av_frame_free(&mQueue.front().frame);
    mQueue.pop_front();
  }
  mTargetCheck = true;
  // A picture shown before the one after it was decoded gets its neighbour now.
  if (mAfterMissing && mShown) {
    auto const after = Neighbour(mShownPosition, 1);
    auto const latest = LatestPicture();
    if (after && latest && latest->number == mCallBack.Last()) {
      auto picture = std::make_shared<DVDPicture>(*latest);
      picture->after = after;
      Publish(std::move(picture));
      mAfterMissing = false;
    }
  }
  mWake.notify_all();
}

void DVDPresenter::Clear() {
  std::lock_guard<std::mutex> g(mMutex);
  ClearQueue();
  mWake.notify_all();
}

void DVDPresenter::Recheck() {
  std::lock_guard<std::mutex> g(mMutex);
  mWake.notify_all();
}

void DVDPresenter::Recompose() {
  std::lock_guard<std::mutex> g(mMutex);
  if (mShown) mRecompose = true;
  mWake.notify_all();
}

void DVDPresenter::Hold(bool hold) {
  std::lock_guard<std::mutex> g(mMutex);
  mHeld = hold;
  mWake.notify_all();
}

void DVDPresenter::ClearQueue() {
  for (auto& f : mQueue) av_frame_free(&f.frame);
  mQueue.clear();
}

// ---- questions

bool DVDPresenter::IsQuiet() {
  std::lock_guard<std::mutex> g(mMutex);
  if (mRecompose) return false;
  if (mTarget >= 0 && mTargetCheck) return false;
  if (mHeld || mQueue.empty()) return true;
  return Due(mQueue.front()) > mClock.Now();
}

std::shared_ptr<DVDPicture const> DVDPresenter::LatestPicture() {
  std::lock_guard<std::mutex> g(gLatestMutex);
  return Latest();
}

// ---- presenting (the presenter's thread)

void DVDPresenter::Run() {
  std::unique_lock<std::mutex> lk(mMutex);
  while (!mQuit) {
    if (mTarget >= 0) {
      // Nothing else is shown until the target is.
      if (mTargetCheck && ShowTarget()) {
        Compose(lk);
        continue;
      }
      if (mRecompose) {
        Compose(lk);
        continue;
      }
      mWake.wait(lk, [&] { return mQuit || mRecompose || mTarget < 0 || mTargetCheck; });
      continue;
    }
    if (!mHeld && !mQueue.empty()) {
      int64_t const now = mClock.Now();
      int64_t const due = Due(mQueue.front());
      if (due <= now) {
        // The newest picture that is due; any before it are late and dropped.
        while (mQueue.size() > 1 && Due(mQueue[1]) <= now) {
          Keep(Own(mQueue.front().frame), mQueue.front().position);
          mQueue.pop_front();
        }
        ShowQueued();
        Compose(lk);
        continue;
      }
      if (mRecompose) {
        Compose(lk);
        continue;
      }
      mClock.WaitUntil(lk, mWake, due, [&] {
        return mQuit || mHeld || mRecompose || mTarget >= 0 || mQueue.empty() ||
               Due(mQueue.front()) != due;
      });
      continue;
    }
    if (mRecompose) {
      Compose(lk);
      continue;
    }
    mWake.wait(lk, [&] {
      return mQuit || mRecompose || mTarget >= 0 || (!mHeld && !mQueue.empty());
    });
  }
}

void DVDPresenter::Compose(std::unique_lock<std::mutex>& lk) {
  mRecompose = false;
  if (!mShown) return;
  AVFrame const* const f = mShown.get();
  auto picture = std::make_shared<DVDPicture>();
  picture->width = f->width;
  picture->height = f->height;

  DVDPicturePosition const& position = mShownPosition;
  picture->title = position.title;
  picture->chapter = position.chapter;
  picture->titleTime = position.titleTime;
  picture->frameInTitle = position.frameInTitle;
  picture->framesShown = position.framesShown;
  picture->decoded = mShown;
  picture->before = Neighbour(position, -1);
  picture->after = Neighbour(position, 1);
  mAfterMissing = !picture->after && position.frameInTitle >= 0;
  // The display aspect is the sequence's: its pixel aspect times its size.
  AVRational const sar = f->sample_aspect_ratio;
  if (sar.num > 0 && sar.den > 0 && f->height > 0) {
    double const dar = double(f->width) * sar.num / (double(f->height) * sar.den);
    picture->aspect = dar > 1.55 ? kDVDAspectRatio16x9 : kDVDAspectRatio4x3;
  }

  uint32_t const epoch = mMap.Epoch();
  DVDClockTime const at{std::max(mMap.Carry(mShownDue.at, mShownDue.epoch, epoch), mClock.Now()),
                        epoch};
  mLayer.Overlay(position.subpictureStream, position.forcedSubpicturesOnly, at, picture.get());
  if (mCaptions) {
    mCaptions->Follow(position.title);
    if (mCaptions->Shown()) picture->caption = mCaptions->At(position.title, position.frameInTitle);
  }
  picture->number = mCallBack.Next();
  UInt32 const number = picture->number;
  Publish(std::move(picture));
  // Told without the lock: the callback may ask the service anything.
  lk.unlock();
  mCallBack.Call(number);
  lk.lock();
}

}  // namespace dvd
