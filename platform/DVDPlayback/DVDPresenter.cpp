#include "DVDPresenter.h"

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace dvd {

namespace {

// Reading runs a picture group (up to a second) ahead, so up to two groups of pictures
// wait; more means the clock stopped being followed.
constexpr size_t kMaxQueue = 72;
constexpr size_t kMaxPlaced = 64;
// Pictures kept once shown or passed over: a picture group and more, so that a run of steps
// back decodes each group once.
constexpr size_t kMaxKept = 48;

std::shared_ptr<AVFrame const> Own(AVFrame* frame) {
  return std::shared_ptr<AVFrame const>(frame, [](AVFrame const* f) {
    AVFrame* owned = const_cast<AVFrame*>(f);
    av_frame_free(&owned);
  });
}

std::mutex gLatestMutex;

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

// Default subpicture palette until the disc gives one: greys.
std::array<uint32_t, 16> DefaultClut() {
  std::array<uint32_t, 16> clut{};
  for (int i = 0; i < 16; ++i) clut[size_t(i)] = uint32_t(16 + i * 14) << 16 | 0x8080;
  return clut;
}

}  // namespace

DVDPresenter::DVDPresenter(DVDClock& clock, std::unique_ptr<DVDAudioSink> sink)
    : mClock(clock),
      mSink(std::move(sink)),
      mDemuxer([this](DVDPayload const& p) { Payload(p); }),
      mClut(DefaultClut()) {}

DVDPresenter::~DVDPresenter() {
  if (mThread.joinable()) {
    {
      std::lock_guard<std::mutex> g(mMutex);
      mQuit = true;
    }
    mWake.notify_all();
    mThread.join();
  }
  if (mListener) mClock.RemoveListener(mListener);
  ClearQueue();
  sws_freeContext(mScaler);
  Publish(nullptr);
}

bool DVDPresenter::Construct() {
  if (!mVideo.Construct([this](AVFrame* f) { VideoFrame(f); })) return false;
  Publish(nullptr);
  mListener = mClock.AddListener([this] {
    std::lock_guard<std::mutex> g(mMutex);
    mWake.notify_all();
  });
  mThread = std::thread([this] { Run(); });
  return true;
}

// ---- feeding (the navigator's thread)

int64_t DVDPresenter::Map(int64_t pts) const {
  return mTiming.clockStart + (pts - mTiming.ptsStart) / mTiming.speed;
}

void DVDPresenter::Block(uint8_t const* data, size_t size) {
  if (mHaveTiming) mDemuxer.Block(data, size);
}

void DVDPresenter::Payload(DVDPayload const& p) {
  int64_t const at = p.pts != kNoTime ? Map(p.pts) : kNoTime;
  switch (p.kind) {
    case DVDStreamKind::Video:
      mVideo.Decode(p.data, p.size, at);
      break;
    case DVDStreamKind::Subpicture:
      if (p.index == mTiming.subpictureStream) {
        std::lock_guard<std::mutex> g(mMutex);
        mSubpictures.Decode(p.data, p.size, at == kNoTime ? kNoTime : at + mShifted);
        mRecompose = mShown != nullptr;
        mWake.notify_all();
      }
      break;
    default:
      // Sound plays at normal speed only.
      if (p.index != mTiming.audioStream || mTiming.speed != 1 || mTiming.keyFramesOnly) break;
      if (!mAudio || mAudio->Kind() != p.kind) {
        mAudio = std::make_unique<DVDAudioDecoder>();
        if (!mAudio->Construct(p.kind, [this](int64_t t, int rate, int16_t const* s, size_t n) {
              Audio(t, rate, s, n);
            })) {
          mAudio.reset();
          break;
        }
      }
      mAudio->Decode(p.data, p.size, at);
      break;
  }
}

void DVDPresenter::Audio(int64_t at, int rate, int16_t const* samples, size_t frames) {
  mSink->Push(at + mShifted, rate, samples, frames);
}

void DVDPresenter::VideoFrame(AVFrame* frame) {
  AVFrame* const copy = av_frame_clone(frame);
  if (!copy) return;
  std::lock_guard<std::mutex> g(mMutex);
  // In time order: a picture held over a change of speed may come out of turn.
  int64_t const due = frame->pts + mShifted;
  auto const at = std::upper_bound(mQueue.begin(), mQueue.end(), due,
                                   [](int64_t d, Frame const& f) { return d < f.due; });
  mQueue.insert(at, {copy, due, PositionAt(due)});
  while (mQueue.size() > kMaxQueue) {
    av_frame_free(&mQueue.front().frame);
    mQueue.pop_front();
  }
  mTargetCheck = true;
  // A picture shown before the one after it was decoded gets its neighbour now.
  if (mAfterMissing && mShown) {
    auto const after = Neighbour(mShownPosition, 1);
    auto const latest = LatestPicture();
    if (after && latest && latest->number == mNumber) {
      auto picture = std::make_shared<DVDPicture>(*latest);
      picture->after = after;
      Publish(std::move(picture));
      mAfterMissing = false;
    }
  }
  mWake.notify_all();
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

void DVDPresenter::StartVobu(DVDVobuTiming const& timing) {
  bool const wasKeyOnly = mTiming.keyFramesOnly;
  bool const titleChanged = mHaveTiming && timing.title != mTiming.title;
  if (mHaveTiming && mTiming.speed == 1 && !mTiming.keyFramesOnly &&
      (timing.speed != 1 || timing.keyFramesOnly)) {
    mSink->Flush();
  }
  mTiming = timing;
  mTiming.clockStart -= mShifted;
  mHaveTiming = true;
  if (timing.keyFramesOnly != wasKeyOnly) mVideo.SetKeyFramesOnly(timing.keyFramesOnly);
  mVideo.SetSpeed(timing.speed);
  std::lock_guard<std::mutex> g(mMutex);
  // What the menu or title before showed ends where this one starts.
  if (mFlushSubpictures || titleChanged) mSubpictures.EndAt(timing.clockStart);
  mFlushSubpictures = false;
  mPlaced.push_back({timing.clockStart, timing});
  while (mPlaced.size() > kMaxPlaced) mPlaced.pop_front();
}

void DVDPresenter::EndOfStream() { mVideo.Drain(); }

void DVDPresenter::Discontinuity() {
  mVideo.Flush();
  if (mAudio) mAudio->Flush();
  mSink->Flush();
  mHaveTiming = false;
  // The subpicture on screen stays until the new position's first picture group starts.
  mFlushSubpictures = true;
  std::lock_guard<std::mutex> g(mMutex);
  ClearQueue();
  mPlaced.clear();
  mWake.notify_all();
}

void DVDPresenter::SetPalette(std::array<uint32_t, 16> const& clut) {
  std::lock_guard<std::mutex> g(mMutex);
  if (clut == mClut) return;
  mClut = clut;
  mRecompose = mShown != nullptr;
  mWake.notify_all();
}

void DVDPresenter::SetHighlight(DVDHighlight const& h) {
  std::lock_guard<std::mutex> g(mMutex);
  DVDHighlight const& o = mHighlight;
  if (h.visible == o.visible && h.x0 == o.x0 && h.y0 == o.y0 && h.x1 == o.x1 && h.y1 == o.y1 &&
      h.palette == o.palette) {
    return;
  }
  mHighlight = h;
  mRecompose = mShown != nullptr;
  mWake.notify_all();
}

void DVDPresenter::Hold(bool hold) {
  mSink->Hold(hold);
  std::lock_guard<std::mutex> g(mMutex);
  mHeld = hold;
  mWake.notify_all();
}

void DVDPresenter::Shift(int64_t ticks) {
  mSink->Shift(ticks);
  mShifted += ticks;
  std::lock_guard<std::mutex> g(mMutex);
  for (auto& f : mQueue) f.due += ticks;
  for (auto& p : mPlaced) p.clockStart += ticks;
  mSubpictures.Shift(ticks);
  mWake.notify_all();
}

void DVDPresenter::Retime(int64_t from, int num, int den, bool keyFramesOnly) {
  if (num <= 0 || den <= 0) return;
  auto const f = [&](int64_t t) { return t > from ? from + (t - from) * num / den : t; };
  // Reading stops between picture groups, so the pictures the decoder holds for reordering
  // can come out now and be placed again with the rest.
  mVideo.Drain();
  // Sound plays at normal speed only, and what is queued was for the old one.
  mSink->Flush();
  if (mAudio) mAudio->Flush();
  if (mHaveTiming) {
    int64_t const start = mTiming.clockStart + mShifted;
    if (start < from) {
      mTiming.ptsStart += (from - start) * mTiming.speed;
      mTiming.clockStart = from - mShifted;
    } else {
      mTiming.clockStart = f(start) - mShifted;
    }
    mTiming.speed = std::max(1, mTiming.speed * den / num);
    mVideo.SetSpeed(mTiming.speed);
  }
  if (keyFramesOnly != mTiming.keyFramesOnly) mVideo.SetKeyFramesOnly(keyFramesOnly);
  mTiming.keyFramesOnly = keyFramesOnly;
  std::lock_guard<std::mutex> g(mMutex);
  for (auto& frame : mQueue) frame.due = f(frame.due);
  // The group on screen at the change goes on from there at the new speed.
  auto const on = std::find_if(mPlaced.rbegin(), mPlaced.rend(),
                               [&](Placed const& p) { return p.clockStart < from; });
  if (on != mPlaced.rend()) {
    Placed rest = *on;
    rest.timing.titleTime += (from - rest.clockStart) * rest.timing.speed;
    rest.clockStart = from;
    mPlaced.insert(on.base(), rest);
  }
  for (auto& p : mPlaced) {
    if (p.clockStart < from) continue;
    p.clockStart = f(p.clockStart);
    p.timing.speed = std::max(1, p.timing.speed * den / num);
  }
  mSubpictures.Retime(f);
  mWake.notify_all();
}

void DVDPresenter::SetTarget(int64_t frame) {
  std::lock_guard<std::mutex> g(mMutex);
  mTarget = frame;
  mTargetCheck = true;
  mWake.notify_all();
}

bool DVDPresenter::TargetPending() {
  std::lock_guard<std::mutex> g(mMutex);
  return mTarget >= 0;
}

bool DVDPresenter::AfterMissing() {
  std::lock_guard<std::mutex> g(mMutex);
  return mAfterMissing;
}

int64_t DVDPresenter::Target() {
  std::lock_guard<std::mutex> g(mMutex);
  return mTarget;
}

bool DVDPresenter::HasPicture(int title, int64_t frame) {
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

void DVDPresenter::ClearQueue() {
  for (auto& f : mQueue) av_frame_free(&f.frame);
  mQueue.clear();
}

// ---- settings and queries (any thread)

void DVDPresenter::SetVolume(UInt16 volume, bool muted) { mSink->SetVolume(volume, muted); }

void DVDPresenter::SetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr proc, void* refCon) {
  std::unique_lock<std::mutex> lk(mMutex);
  // Once this returns the old callback is not running (unless it is the caller).
  if (std::this_thread::get_id() != mThread.get_id()) {
    mWake.wait(lk, [&] { return !mInCallBack; });
  }
  mReadyProc = proc;
  mReadyRefCon = refCon;
}

bool DVDPresenter::IsQuiet() {
  std::lock_guard<std::mutex> g(mMutex);
  if (mRecompose) return false;
  if (mTarget >= 0 && mTargetCheck) return false;
  if (mHeld || mQueue.empty()) return true;
  return mQueue.front().due > mClock.Now();
}

int64_t DVDPresenter::AudioDelivered() { return mSink->Delivered(); }

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
      int64_t const due = mQueue.front().due;
      if (due <= now) {
        // The newest picture that is due; any before it are late and dropped.
        while (mQueue.size() > 1 && mQueue[1].due <= now) {
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
               mQueue.front().due != due;
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
  int const rowBytes = f->width * 3;
  picture->rgb.resize(size_t(rowBytes) * size_t(f->height));
  mScaler = sws_getCachedContext(mScaler, f->width, f->height, AVPixelFormat(f->format),
                                 f->width, f->height, AV_PIX_FMT_RGB24, SWS_BICUBIC, nullptr,
                                 nullptr, nullptr);
  if (!mScaler) return;
  uint8_t* dst[4] = {picture->rgb.data(), nullptr, nullptr, nullptr};
  int dstStride[4] = {rowBytes, 0, 0, 0};
  sws_scale(mScaler, f->data, f->linesize, 0, f->height, dst, dstStride);

  DVDPicturePosition const& position = mShownPosition;
  picture->title = position.title;
  picture->chapter = position.chapter;
  picture->titleTime = position.titleTime;
  picture->frameInTitle = position.frameInTitle;
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

  if (DVDSubpicture const* const sub =
          mSubpictures.At(std::max(mShownDue, mClock.Now()), position.forcedSubpicturesOnly)) {
    DVDSubpictureDecoder::Draw(*sub, mHighlight, mClut, picture->rgb.data(), f->width, f->height,
                               rowBytes);
    picture->overlay.assign(size_t(f->width) * size_t(f->height) * 4, 0);
    DVDSubpictureDecoder::DrawLayer(*sub, mHighlight, mClut, picture->overlay.data(), f->width,
                                    f->height);
  }
  picture->number = ++mNumber;
  UInt32 const number = picture->number;
  Publish(std::move(picture));
  DVDFrameReadyCallBackFunctionPtr const proc = mReadyProc;
  void* const refCon = mReadyRefCon;
  if (proc) {
    mInCallBack = true;
    lk.unlock();
    proc(number, refCon);
    lk.lock();
    mInCallBack = false;
    mWake.notify_all();
  }
}

}  // namespace dvd
