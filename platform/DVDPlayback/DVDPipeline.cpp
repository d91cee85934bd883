// The pipeline's stages: what the navigator hands over goes through the demultiplexer's
// queue, is demultiplexed there and handed to each decoder's queue; decoded pictures go to
// the presenter with their due time and place. Placing pictures is in DVDPipeline_Place.cpp.
#include "DVDPipeline.h"

#include <algorithm>

extern "C" {
#include <libavutil/frame.h>
}

namespace dvd {

namespace {

constexpr size_t kMaxPlaced = 64;

}  // namespace

DVDPipeline::DVDPipeline(DVDClock& clock, DVDClockMap& map, std::unique_ptr<DVDAudioSink> sink)
    : mClock(clock),
      mMap(map),
      mSink(std::move(sink)),
      mLayer(map),
      mPresenter(clock, map, mLayer),
      mDemuxer([this](DVDPayload const& p) { Payload(p); }),
      mEpoch(map.Epoch()),
      mVideoEpoch(mEpoch) {}

DVDPipeline::~DVDPipeline() {
  // The stages stop first, in the order they feed each other: what they would hand on has
  // nowhere to go. The presenter stops after them.
  mFeed.Stop();
  mVideoWork.Stop();
  mAudioWork.Stop();
  mSubpictureWork.Stop();
}

bool DVDPipeline::Construct() {
  if (!mVideo.Construct([this](AVFrame* f) { VideoFrame(f); })) return false;
  mPresenter.Construct();
  mVideoWork.Start();
  mAudioWork.Start();
  mSubpictureWork.Start();
  mFeed.Start();
  return true;
}

// ---- handing over (the navigator's thread, its lock held): carried out in order on the
// demultiplexer's thread

void DVDPipeline::Block(uint8_t const* data, size_t size) {
  mFeed.Post(DVDDecodeFeed::Kind::Block,
             [this, bytes = std::vector<uint8_t>(data, data + size)] {
               DoBlock(bytes.data(), bytes.size());
             });
}

void DVDPipeline::StartVobu(DVDVobuTiming const& timing) {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this, timing] { DoStartVobu(timing); });
}

void DVDPipeline::SubpictureUnit(int stream, int64_t pts, std::vector<uint8_t> unit) {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this, stream, pts, bytes = std::move(unit)] {
    if (mHaveTiming) Payload({DVDStreamKind::Subpicture, stream, pts, bytes.data(), bytes.size()});
  });
}

void DVDPipeline::EndOfStream() {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this] { DoEndOfStream(); });
}

void DVDPipeline::Discontinuity() {
  mFeed.Post(DVDDecodeFeed::Kind::Jump, [this] { DoDiscontinuity(); });
}

void DVDPipeline::SetPalette(std::array<uint32_t, 16> const& clut) {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [this, clut] { DoSetPalette(clut); });
}

void DVDPipeline::Retime(uint32_t epoch, bool keyFramesOnly) {
  mFeed.Post(DVDDecodeFeed::Kind::Other, [=, this] { DoRetime(epoch, keyFramesOnly); });
}

void DVDPipeline::SetTarget(int64_t frame) {
  // With nothing on its way that it must follow (a jump, another target), at once: a step
  // to a picture at hand does not wait for what is being decoded.
  int64_t queued = -1;
  if (!JumpOnItsWay() && !mFeed.QueuedTarget(&queued) && !mVideoWork.QueuedTarget(&queued)) {
    mPresenter.SetTarget(frame);
    return;
  }
  mFeed.Post(DVDDecodeFeed::Kind::Target, [this, frame] { DoSetTarget(frame); }, frame);
}

void DVDPipeline::SelectStreams(int audio, int subpicture, bool forcedOnly) {
  mFeed.Post(DVDDecodeFeed::Kind::Other,
             [=, this] { DoSelectStreams(audio, subpicture, forcedOnly); });
}

void DVDPipeline::SetHighlight(DVDHighlight const& highlight) {
  if (mLayer.SetHighlight(highlight)) mPresenter.Recompose();
}

void DVDPipeline::Hold(bool hold) {
  mSink->Hold(hold);
  mPresenter.Hold(hold);
}

void DVDPipeline::SetRoomListener(std::function<void()> listener) {
  mFeed.SetRoomListener(std::move(listener));
}

bool DVDPipeline::HasRoom() {
  if (mFeed.HasRoom()) return true;
  mFeed.NoticeRoom();
  return mFeed.HasRoom();
}

// ---- questions (any thread)

int64_t DVDPipeline::Target() {
  int64_t queued = -1;
  if (mFeed.QueuedTarget(&queued) || mVideoWork.QueuedTarget(&queued)) return queued;
  return mPresenter.Target();
}

bool DVDPipeline::HasPicture(int title, int64_t frame) {
  // A jump on its way clears what is queued.
  if (JumpOnItsWay()) return false;
  return mPresenter.HasPicture(title, frame);
}

DVDPicturePosition DVDPipeline::PictureShowing(int title, int64_t frame) {
  if (JumpOnItsWay()) {
    DVDPicturePosition none;
    none.title = title;
    none.frameInTitle = frame;
    return none;
  }
  return mPresenter.PictureShowing(title, frame);
}

bool DVDPipeline::IsQuiet() {
  if (!mFeed.Idle() || !mVideoWork.Idle() || !mAudioWork.Idle() || !mSubpictureWork.Idle()) {
    return false;
  }
  return mPresenter.IsQuiet();
}

// ---- the demultiplexer's stage

void DVDPipeline::DoBlock(uint8_t const* data, size_t size) {
  if (mHaveTiming) mDemuxer.Block(data, size);
}

void DVDPipeline::Payload(DVDPayload const& p) {
  int64_t const at = p.pts != kNoTime ? mMap.ClockOf(mTiming.place, p.pts, mEpoch) : kNoTime;
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
      if (p.index >= 0 && size_t(p.index) < DVDSubpictureLayer::kStreams) {
        bool const shown = p.index == mTiming.subpictureStream;
        mSubpictureWork.WaitForRoom();
        mSubpictureWork.Post(DVDDecodeFeed::Kind::Block,
                             [this, bytes = std::move(bytes), at = DVDClockTime{at, mEpoch},
                              index = p.index, shown] {
                               mLayer.Decode(index, bytes.data(), bytes.size(), at);
                               if (shown) mPresenter.Recompose();
                             });
      }
      break;
    default:
      // Sound plays at normal speed only, and is decoded only where it can be heard.
      if (p.index != mTiming.audioStream || Speed(mTiming) != 1 || mTiming.keyFramesOnly ||
          !mSink->WantsSound()) {
        break;
      }
      mAudioWork.WaitForRoom();
      mAudioWork.Post(DVDDecodeFeed::Kind::Block,
                      [this, bytes = std::move(bytes), at, kind = p.kind, index = p.index] {
                        DecodeAudio(kind, index, bytes, at);
                      });
      break;
  }
}

void DVDPipeline::DoStartVobu(DVDVobuTiming const& timing) {
  if (mHaveTiming && Speed(mTiming) == 1 && !mTiming.keyFramesOnly &&
      (Speed(timing) != 1 || timing.keyFramesOnly)) {
    FlushAudio();
  }
  bool const titleChanged = mHaveTiming && timing.title != mTiming.title;
  mTiming = timing;
  mHaveTiming = true;
  if (mFlushSubpictures || titleChanged) {
    // What the menu or title before showed ends where this one starts.
    mSubpictureWork.Post(DVDDecodeFeed::Kind::Other,
                         [this, end = DVDClockTime{timing.place.clockStart, timing.place.epoch}] {
                           mLayer.EndAt(end);
                         });
  }
  mFlushSubpictures = false;
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [this, timing, speed = Speed(timing)] {
    mVideo.SetKeyFramesOnly(timing.keyFramesOnly);
    mVideo.SetSpeed(speed);
    mPlaced.push_back({timing, -1});
    while (mPlaced.size() > kMaxPlaced) mPlaced.pop_front();
  });
}

void DVDPipeline::DoEndOfStream() {
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [this] { mVideo.Drain(); });
}

void DVDPipeline::DoDiscontinuity() {
  mHaveTiming = false;
  // The subpicture on screen stays until the new position's first picture group starts.
  mFlushSubpictures = true;
  FlushAudio();
  mVideoWork.Post(DVDDecodeFeed::Kind::Jump, [this] {
    mVideo.Flush();
    mPlaced.clear();
    mPresenter.Clear();
  });
}

void DVDPipeline::DoSetPalette(std::array<uint32_t, 16> const& clut) {
  // In order with the pictures it colours.
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [this, clut] {
    if (mLayer.SetPalette(clut)) mPresenter.Recompose();
  });
}

int DVDPipeline::Speed(DVDVobuTiming const& timing) const {
  return mMap.SpeedIn(timing.place.speed, timing.place.epoch, mEpoch);
}

void DVDPipeline::DoRetime(uint32_t epoch, bool keyFramesOnly) {
  // Sound plays at normal speed only, and what is queued was for the old one.
  FlushAudio();
  mEpoch = epoch;
  mTiming.keyFramesOnly = keyFramesOnly;
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [=, this, speed = Speed(mTiming),
                                               haveTiming = mHaveTiming] {
    // Reading stops between picture groups, so the pictures the decoder holds for
    // reordering come out now, in the epoch they were decoded in; the queue and the layer
    // carry their times through the map when they need them.
    mVideo.Drain();
    mVideoEpoch = epoch;
    if (haveTiming) mVideo.SetSpeed(speed);
    mVideo.SetKeyFramesOnly(keyFramesOnly);
    mPresenter.Recheck();
  });
}

void DVDPipeline::DoSetTarget(int64_t frame) {
  // In order with the pictures decoded before it and the jumps that clear them.
  mVideoWork.Post(DVDDecodeFeed::Kind::Target, [this, frame] { mPresenter.SetTarget(frame); },
                  frame);
}

void DVDPipeline::DoSelectStreams(int audio, int subpicture, bool forcedOnly) {
  // What was queued of the other track goes.
  if (audio != mTiming.audioStream) FlushAudio();
  mTiming.audioStream = audio;
  mTiming.subpictureStream = subpicture;
  mTiming.forcedSubpicturesOnly = forcedOnly;
  mVideoWork.Post(DVDDecodeFeed::Kind::Other, [=, this] {
    for (auto& placed : mPlaced) {
      placed.timing.subpictureStream = subpicture;
      placed.timing.forcedSubpicturesOnly = forcedOnly;
    }
    mPresenter.SetStreams(subpicture, forcedOnly);
  });
}

// ---- the sound stage

void DVDPipeline::DecodeAudio(DVDStreamKind kind, int index, std::vector<uint8_t> const& bytes,
                              int64_t at) {
  if (!mAudio || mAudio->Kind() != kind) {
    mAudio = std::make_unique<DVDAudioDecoder>();
    if (!mAudio->Construct(kind, [this](int64_t t, int rate, int16_t const* s, size_t n) {
          mSink->Push(t, rate, s, n);
        })) {
      mAudio.reset();
      return;
    }
  }
  mAudio->Decode(bytes.data(), bytes.size(), at);
  mDecodedAudio = index;
}

void DVDPipeline::FlushAudio() {
  mAudioWork.Post(DVDDecodeFeed::Kind::Other, [this] {
    if (mAudio) mAudio->Flush();
    mSink->Flush();
  });
}

// ---- the picture stage

void DVDPipeline::VideoFrame(AVFrame* frame) {
  AVFrame* const copy = av_frame_clone(frame);
  if (!copy) return;
  int64_t const due = frame->pts;
  mPresenter.Take({copy, {due, mVideoEpoch}, PositionAt(due, copy)});
}

}  // namespace dvd
