// Turns what the navigator reads into pictures and sound, in stages with a thread each: the
// demultiplexer (fed through a bounded queue), a decoder each for pictures, sound and
// subpictures (each behind a queue of its own), and the presenter, which is handed each
// decoded picture with its due time and place. Each stage keeps its own state, touched on
// its own thread only, or behind a lock of its own: the placement of picture groups is the
// picture decoder's, the subpictures are decoded into a layer with its own lock, and nothing
// is decoded under the presenter's lock. Sound goes to the audio sink on the same time line.
#pragma once

#include "DVDAudioDecoder.h"
#include "DVDAudioSink.h"
#include "DVDCaptionTrack.h"
#include "DVDClock.h"
#include "DVDClockMap.h"
#include "DVDDecodeFeed.h"
#include "DVDDemuxer.h"
#include "DVDPlayback.h"
#include "DVDPresenter.h"
#include "DVDSubpictureLayer.h"
#include "DVDVideoDecoder.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct AVFrame;

namespace dvd {

// Where a picture group sits on the clock and on the disc.
struct DVDVobuTiming {
  DVDPlacement place;  // where its first picture is due on the clock
  bool keyFramesOnly = false;
  int title = 0;           // 0 on a menu
  int chapter = 0;
  int64_t titleTime = 0;   // 90 kHz, at its first picture
  int audioStream = 0;     // -1: none
  int subpictureStream = -1;
  bool forcedSubpicturesOnly = true;
  // Title frame of the group's first picture (-1 on a menu) and a frame's length in ticks.
  int64_t firstFrame = -1;
  int64_t frameTicks = 3003;
};

class DVDPipeline {
 public:
  // Blocks the decoders may have waiting: two picture groups at the highest rate.
  static constexpr size_t kFeedBlocks = 1024;
  // Packets the decoders may have waiting: a picture group and more of pictures, a few
  // seconds of sound, a screenful of subtitles.
  static constexpr size_t kVideoPackets = 256;
  static constexpr size_t kAudioPackets = 256;
  static constexpr size_t kSubpicturePackets = 64;

  // map: where stream time lands on the clock (outlives the pipeline).
  DVDPipeline(DVDClock& clock, DVDClockMap& map, std::unique_ptr<DVDAudioSink> sink);
  ~DVDPipeline();
  DVDPipeline(DVDPipeline const&) = delete;
  DVDPipeline& operator=(DVDPipeline const&) = delete;

  bool Construct();

  // From the navigator (its lock held): handed to the demultiplexer's thread and carried out
  // there in this order.
  void Block(uint8_t const* data, size_t size);
  void StartVobu(DVDVobuTiming const& timing);
  // A whole subpicture unit of a stream (its bytes after the substream byte) read before the
  // group just started, decoded with that group's timing as if read with it.
  void SubpictureUnit(int stream, int64_t pts, std::vector<uint8_t> unit);
  // The stream stops here (a still or the end): what the decoder holds is shown.
  void EndOfStream();
  // The position moved: nothing read before counts.
  void Discontinuity();
  void SetPalette(std::array<uint32_t, 16> const& clut);
  void SetHighlight(DVDHighlight const& highlight);
  void Hold(bool hold);
  // The map's speed changed, starting epoch: what is decoded from now on is worked out in it
  // and the sound queued for the old speed goes; keyFramesOnly as the new speed decodes.
  void Retime(uint32_t epoch, bool keyFramesOnly);
  // From the navigator (its lock held): the streams decoded and shown from now on, queued
  // pictures included; forcedOnly shows the pictures the disc forces only.
  void SelectStreams(int audio, int subpicture, bool forcedOnly);

  // Shows the picture of the current title with this frame number as soon as it has been
  // decoded, paused or not, and drops the pictures before it; -1 cancels.
  void SetTarget(int64_t frame);
  // The frame a seek or step is on its way to, -1 when none.
  int64_t Target();
  bool TargetPending() { return Target() >= 0; }
  // A jump has been handed over and not yet carried out.
  bool JumpOnItsWay() { return mFeed.JumpQueued() || mVideoWork.JumpQueued(); }
  // True when that picture is decoded and at hand (queued or kept from a step back), so
  // that it can be shown without reading the disc.
  bool HasPicture(int title, int64_t frame);
  // Where the picture at hand that shows frame is (its first frame and how many it is shown
  // for); frame itself, for one frame, when no such picture is at hand.
  DVDPicturePosition PictureShowing(int title, int64_t frame);
  // The picture on screen waits for the one after it to be decoded.
  bool AfterMissing() { return mPresenter.AfterMissing(); }
  // The position of the picture on screen (frameInTitle -1 when none).
  DVDPicturePosition Shown() { return mPresenter.Shown(); }

  // False when the decoders have all they can hold: the navigator waits for the listener,
  // called once room frees after a false answer.
  bool HasRoom();
  void SetRoomListener(std::function<void()> listener);

  void SetVolume(UInt16 volume, bool muted) { mSink->SetVolume(volume, muted); }
  void SetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr proc, void* refCon) {
    mPresenter.SetFrameReadyCallBack(proc, refCon);
  }
  // True when nothing waits in any stage, no picture is due and nothing waits to be drawn.
  bool IsQuiet();
  int64_t AudioDelivered() { return mSink->Delivered(); }
  bool AudioIsDevice() const { return mSink->IsDevice(); }
  // The sound stream decoded last (-1 before any).
  int DecodedAudioStream() const { return mDecodedAudio.load(); }

  // The disc's closed captions, read from the disc at path and drawn over the pictures while
  // shown; null before.
  void SetCaptionSource(std::string const& path, bool lookUpEarly) {
    mPresenter.SetCaptionSource(path, lookUpEarly);
  }
  DVDCaptionTrack* Captions() { return mPresenter.Captions(); }
  void ShowCaptions(bool shown) { mPresenter.ShowCaptions(shown); }

 private:
  // A picture group as placed on the clock, for the pictures decoded from it.
  struct Placed {
    DVDVobuTiming timing;
    // Whether the group starts halfway through a frame (a film picture after a repeated
    // field), told by its first picture; -1 until that is decoded.
    int halfway = -1;
  };

  // The demultiplexer's stage.
  void DoBlock(uint8_t const* data, size_t size);
  void DoStartVobu(DVDVobuTiming const& timing);
  void DoEndOfStream();
  void DoDiscontinuity();
  void DoSetPalette(std::array<uint32_t, 16> const& clut);
  void DoRetime(uint32_t epoch, bool keyFramesOnly);
  void DoSetTarget(int64_t frame);
  void DoSelectStreams(int audio, int subpicture, bool forcedOnly);
  void Payload(DVDPayload const& payload);
  // A group's scan rate in the demultiplexer's epoch.
  int Speed(DVDVobuTiming const& timing) const;
  // Sound queued so far goes (decoder and sink), in order with what comes before it.
  void FlushAudio();
  // The sound stage.
  void DecodeAudio(DVDStreamKind kind, int index, std::vector<uint8_t> const& bytes, int64_t at);
  // The picture stage: a decoded picture placed in its title and handed to the presenter.
  void VideoFrame(AVFrame* frame);
  // Where a picture due then (in the picture stage's epoch) belongs; picture (may be null)
  // tells how long it is shown.
  DVDPicturePosition PositionAt(int64_t due, AVFrame const* picture);

  DVDClock& mClock;
  DVDClockMap& mMap;
  std::unique_ptr<DVDAudioSink> mSink;
  // Drawn over the pictures; decoded by the subpicture stage, read by the presenter.
  DVDSubpictureLayer mLayer;
  DVDPresenter mPresenter;
  // The demultiplexer's stage's own.
  DVDDemuxer mDemuxer;
  bool mHaveTiming = false;
  bool mFlushSubpictures = false;
  DVDVobuTiming mTiming;  // the group being demultiplexed
  uint32_t mEpoch = 0;    // of the map, that its times are worked out in
  // The picture stage's own.
  DVDVideoDecoder mVideo;
  std::deque<Placed> mPlaced;
  uint32_t mVideoEpoch = 0;  // of the pictures the decoder gives out
  // The sound stage's own.
  std::unique_ptr<DVDAudioDecoder> mAudio;
  std::atomic<int> mDecodedAudio{-1};
  // The stages' threads, stopped first: the demultiplexer (fed by the reader), then a decoder
  // thread each for pictures, sound and subpictures, with their queues.
  DVDDecodeFeed mFeed{kFeedBlocks};
  DVDDecodeFeed mVideoWork{kVideoPackets};
  DVDDecodeFeed mAudioWork{kAudioPackets};
  DVDDecodeFeed mSubpictureWork{kSubpicturePackets};
};

}  // namespace dvd
