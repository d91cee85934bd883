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
constexpr size_t kMaxPlaced = 64;


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
  // The decoders stop first: what they would hand on has nowhere to go.
  mFeed.Stop();
  mVideoWork.Stop();
  mAudioWork.Stop();
  mSubpictureWork.Stop();
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

bool DVDPresenter::Construct() {
  if (!mVideo.Construct([this](AVFrame* f) { VideoFrame(f); })) return false;
  Publish(nullptr);
  mListener = mClock.AddListener([this] {
    std::lock_guard<std::mutex> g(mMutex);
    mWake.notify_all();
  });
  mThread = std::thread([this] { Run(); });
  mVideoWork.Start();
  mAudioWork.Start();
  mSubpictureWork.Start();
  mFeed.Start();
  return true;
}

void DVDPresenter::SetCaptionSource(std::string const& path) {
  mCaptions = std::make_unique<DVDCaptionTrack>(path);
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

// ---- handing over (the navigator's thread, its lock held): carried out in order on the
// decoders' thread

void DVDPresenter::Block(uint8_t const* data, size_t size) {
  mFeed.Post(DVDDecodeFeed::Kind::Block,
             [this, bytes = std::vector<uint8_t>(data, data + size)] {
               DoBlock(bytes.data(), bytes.size());
             });
}

void DVDPresenter::StartVobu(DVDVobuTiming const& timing) {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this, timing] { DoStartVobu(timing); });
}

void DVDPresenter::SubpictureUnit(int stream, int64_t pts, std::vector<uint8_t> unit) {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this, stream, pts, bytes = std::move(unit)] {
    if (mHaveTiming) Payload({DVDStreamKind::Subpicture, stream, pts, bytes.data(), bytes.size()});
  });
}

void DVDPresenter::EndOfStream() {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this] { DoEndOfStream(); });
}

void DVDPresenter::Discontinuity() {
  mFeed.Post(DVDDecodeFeed::Kind::Jump, [this] { DoDiscontinuity(); });
}

void DVDPresenter::SetPalette(std::array<uint32_t, 16> const& clut) {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this, clut] { DoSetPalette(clut); });
}

void DVDPresenter::Retime(int64_t from, int num, int den, bool keyFramesOnly) {
  mFeed.Post(DVDDecodeFeed::Kind::Other,
             [=, this] { DoRetime(from, num, den, keyFramesOnly); });
}

void DVDPresenter::SetTarget(int64_t frame) {
  // With nothing on its way that it must follow (a jump, another target), at once: a step
  // to a picture at hand does not wait for what is being decoded.
  int64_t queued = -1;
  if (!JumpOnItsWay() && !mFeed.QueuedTarget(&queued) && !mVideoWork.QueuedTarget(&queued)) {
    ApplyTarget(frame);
    return;
  }
  mFeed.Post(DVDDecodeFeed::Kind::Target, [this, frame] { DoSetTarget(frame); }, frame);
}

void DVDPresenter::SelectStreams(int audio, int subpicture, bool forcedOnly) {
  mFeed.Post(DVDDecodeFeed::Kind::Other,
             [=, this] { DoSelectStreams(audio, subpicture, forcedOnly); });
}

void DVDPresenter::SetRoomListener(std::function<void()> listener) {
  mFeed.SetRoomListener(std::move(listener));
}

bool DVDPresenter::HasRoom() {
  if (mFeed.HasRoom()) return true;
  mFeed.NoticeRoom();
  return mFeed.HasRoom();
}

// ---- carried out (the decoders' thread)

int64_t DVDPresenter::Map(int64_t pts) const {
  return mTiming.clockStart + (pts - mTiming.ptsStart) / mTiming.speed;
}

void DVDPresenter::DoBlock(uint8_t const* data, size_t size) {
  if (mHaveTiming) mDemuxer.Block(data, size);
}

void DVDPresenter::Payload(DVDPayload const& p) {
  int64_t const at = p.pts != kNoTime ? Map(p.pts) : kNoTime;
  std::vector<uint8_t> bytes(p.data, p.data + p.size);
  switch (p.kind) {
    case DVDStreamKind::Video:
      // Bounded: a slow decoder holds the demultiplexer back, and with it the reader.
      mVideoWork.WaitForRoom();
      mVideoWork.Post(DVDDecodeFeed::Kind::Block, [this, bytes = std::move(bytes), at] {
        mVideo.Decode(bytes.data(), bytes.size(), at);
      });
      break;
    case DVDStreamKind::Subpicture:
      // Every stream is decoded, so that a change of stream shows what is on screen now.
      if (p.index >= 0 && size_t(p.index) < mSubpictures.size()) {
        bool const shown = p.index == mTiming.subpictureStream;
        mSubpictureWork.WaitForRoom();
        mSubpictureWork.Post(DVDDecodeFeed::Kind::Block,
                             [this, bytes = std::move(bytes), at, index = p.index, shown] {
                               std::lock_guard<std::mutex> g(mMutex);
                               mSubpictures[size_t(index)].Decode(bytes.data(), bytes.size(), at);
                               if (mShown && shown) mRecompose = true;
                               mWake.notify_all();
                             });
      }
      break;
    default:
      // Sound plays at normal speed only.
      if (p.index != mTiming.audioStream || mTiming.speed != 1 || mTiming.keyFramesOnly) break;
      mAudioWork.WaitForRoom();
      mAudioWork.Post(DVDDecodeFeed::Kind::Block,
                      [this, bytes = std::move(bytes), at, kind = p.kind, index = p.index] {
                        DecodeAudio(kind, index, bytes, at);
                      });
      break;
  }
}

void DVDPresenter::DecodeAudio(DVDStreamKind kind, int index, std::vector<uint8_t> const& bytes,
                               int64_t at) {
  if (!mAudio || mAudio->Kind() != kind) {
    mAudio = std::make_unique<DVDAudioDecoder>();
    if (!mAudio->Construct(kind, [this](int64_t t, int rate, int16_t const* s, size_t n) {
          Audio(t, rate, s, n);
        })) {
      mAudio.reset();
      return;
    }
  }
  mAudio->Decode(bytes.data(), bytes.size(), at);
  mDecodedAudio = index;
}

void DVDPresenter::FlushAudio() {
  mAudioWork.Post(DVDDecodeFeed::Kind::Other, [this] {
    if (mAudio) mAudio->Flush();
    mSink->Flush();
  });
}

void DVDPresenter::Audio(int64_t at, int rate, int16_t const* samples, size_t frames) {
  mSink->Push(at, rate, samples, frames);
}

void DVDPresenter::VideoFrame(AVFrame* frame) {
  AVFrame* const copy = av_frame_clone(frame);
  if (!copy) return;
  std::lock_guard<std::mutex> g(mMutex);
  // In time order: a picture held over a change of speed may come out of turn.
  int64_t const due = frame->pts;
  auto const at = std::upper_bound(mQueue.begin(), mQueue.end(), due,
                                   [](int64_t d, Frame const& f) { return d < f.due; });
  mQueue.insert(at, {copy, due, PositionAt(due, copy)});
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

void DVDPresenter::DoStartVobu(DVDVobuTiming const& timing) {
  if (mHaveTiming && mTiming.speed == 1 && !mTiming.keyFramesOnly &&
      (timing.speed != 1 || timing.keyFramesOnly)) {
    FlushAudio();
  }
  bool const titleChanged = mHaveTiming && timing.title != mTiming.title;
  mTiming = timing;
  mHaveTiming = true;
  if (mFlushSubpictures || titleChanged) {
    // What the menu or title before showed ends where this one starts.
    mSubpictureWork.Post(DVDDecodeFeed::Kind::Other, [this, end = timing.clockStart] {
      std::lock_guard<std::mutex> g(mMutex);
      for (auto& stream : mSubpictures) stream.EndAt(end);
    });
  }
  mFlushSubpictures = false;
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [this, timing] {
    mVideo.SetKeyFramesOnly(timing.keyFramesOnly);
    mVideo.SetSpeed(timing.speed);
    std::lock_guard<std::mutex> g(mMutex);
    mPlaced.push_back({timing.clockStart, timing, -1, 0});
    while (mPlaced.size() > kMaxPlaced) mPlaced.pop_front();
  });
}

void DVDPresenter::DoEndOfStream() {
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [this] { mVideo.Drain(); });
}

void DVDPresenter::DoDiscontinuity() {
  mHaveTiming = false;
  // The subpicture on screen stays until the new position's first picture group starts.
  mFlushSubpictures = true;
  FlushAudio();
  mVideoWork.Post(DVDDecodeFeed::Kind::Jump, [this] {
    mVideo.Flush();
    std::lock_guard<std::mutex> g(mMutex);
    ClearQueue();
    mPlaced.clear();
    mWake.notify_all();
  });
}

void DVDPresenter::DoSetPalette(std::array<uint32_t, 16> const& clut) {
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [this, clut] {
    std::lock_guard<std::mutex> g(mMutex);
    if (clut == mClut) return;
    mClut = clut;
    mRecompose = mShown != nullptr;
    mWake.notify_all();
  });
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

void DVDPresenter::DoRetime(int64_t from, int num, int den, bool keyFramesOnly) {
  if (num <= 0 || den <= 0) return;
  auto const f = [=](int64_t t) { return t > from ? from + (t - from) * num / den : t; };
  // Sound plays at normal speed only, and what is queued was for the old one.
  FlushAudio();
  if (mHaveTiming) {
    int64_t const start = mTiming.clockStart;
    if (start < from) {
      mTiming.ptsStart += (from - start) * mTiming.speed;
      mTiming.clockStart = from;
    } else {
      mTiming.clockStart = f(start);
    }
    mTiming.speed = std::max(1, mTiming.speed * den / num);
  }
  mTiming.keyFramesOnly = keyFramesOnly;
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [=, this, speed = mTiming.speed,
                                               haveTiming = mHaveTiming] {
    // Reading stops between picture groups, so the pictures the decoder holds for
    // reordering can come out now and be placed again with the rest.
    mVideo.Drain();
    if (haveTiming) mVideo.SetSpeed(speed);
    mVideo.SetKeyFramesOnly(keyFramesOnly);
    std::lock_guard<std::mutex> g(mMutex);
    for (auto& frame : mQueue) frame.due = f(frame.due);
    // The group on screen at the change goes on from there at the new speed.
    auto const on = std::find_if(mPlaced.rbegin(), mPlaced.rend(),
                                 [&](Placed const& p) { return p.clockStart < from; });
    if (on != mPlaced.rend()) {
      Placed rest = *on;
      rest.timing.titleTime += (from - rest.clockStart) * rest.timing.speed;
      rest.ticksIn += (from - rest.clockStart) * rest.timing.speed;
      rest.clockStart = from;
      mPlaced.insert(on.base(), rest);
    }
    for (auto& p : mPlaced) {
      if (p.clockStart < from) continue;
      p.clockStart = f(p.clockStart);
      p.timing.speed = std::max(1, p.timing.speed * den / num);
    }
    for (auto& stream : mSubpictures) stream.Retime(f);
    mWake.notify_all();
  });
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
  if (!mFeed.Idle() || !mVideoWork.Idle() || !mAudioWork.Idle() || !mSubpictureWork.Idle()) {
    return false;
  }
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

  int64_t const at = std::max(mShownDue, mClock.Now());
  for (auto& stream : mSubpictures) stream.At(at, false);  // forgets what has been replaced
  size_t const stream = size_t(position.subpictureStream) % mSubpictures.size();
  if (DVDSubpicture const* const sub =
          mSubpictures[stream].At(at, position.forcedSubpicturesOnly)) {
    // Drawn when the picture is converted, in the colours of now.
    picture->subpicture = std::make_shared<DVDSubpicture const>(*sub);
    picture->highlight = mHighlight;
    picture->clut = mClut;
  }
  if (mCaptions) {
    mCaptions->Follow(position.title);
    if (mCaptions->Shown()) picture->caption = mCaptions->At(position.title, position.frameInTitle);
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
