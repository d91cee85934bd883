// Turns what the navigator reads into pictures and sound, in stages with a thread each:
// the demultiplexer (fed through a bounded queue), a decoder each for pictures, sound and
// subpictures (each behind a queue of its own), and the presenter, which shows each picture
// at its time on the service clock (late ones are dropped), or a seek's or step's picture
// as soon as it is decoded. Each picture knows its frame in its title; RGB is made only
// when asked for. Sound goes to the audio sink on the same time line.
#pragma once

#include "DVDAudioDecoder.h"
#include "DVDAudioSink.h"
#include "DVDCaptionTrack.h"
#include "DVDClock.h"
#include "DVDDecodeFeed.h"
#include "DVDPicture.h"
#include "DVDDemuxer.h"
#include "DVDPlayback.h"
#include "DVDSubpictureDecoder.h"
#include "DVDVideoDecoder.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

struct AVFrame;

namespace dvd {

// Where a picture group sits on the clock and on the disc.
struct DVDVobuTiming {
  int64_t clockStart = 0;  // clock time its first picture is due
  int64_t ptsStart = 0;    // that picture's time stamp
  int speed = 1;           // scan rate (1: normal play)
  bool keyFramesOnly = false;
  int title = 0;           // 0 on a menu
  int chapter = 0;
  int64_t titleTime = 0;   // 90 kHz, at clockStart
  int audioStream = 0;     // -1: none
  int subpictureStream = -1;
  bool forcedSubpicturesOnly = true;
  // Title frame of the group's first picture (-1 on a menu) and a frame's length in ticks.
  int64_t firstFrame = -1;
  int64_t frameTicks = 3003;
};

// Where a decoded picture belongs in its title.
struct DVDPicturePosition {
  int title = 0;  // 0 on a menu
  int chapter = 0;
  int64_t titleTime = 0;     // 90 kHz
  int64_t frameInTitle = -1;  // -1 on a menu
  // The frames it stays on screen for: 2 for a film picture whose field is repeated where
  // it starts halfway through a frame (3:2 pulldown); the first of them is frameInTitle.
  int64_t framesShown = 1;
  bool forcedSubpicturesOnly = true;
  int subpictureStream = 0;

  bool Covers(int inTitle, int64_t frame) const {
    return title == inTitle && frameInTitle >= 0 && frameInTitle <= frame &&
           frame < frameInTitle + framesShown;
  }
};

class DVDPresenter {
 public:
  // Blocks the decoders may have waiting: two picture groups at the highest rate.
  static constexpr size_t kFeedBlocks = 1024;
  // Packets the decoders may have waiting: a picture group and more of pictures, a few
  // seconds of sound, a screenful of subtitles.
  static constexpr size_t kVideoPackets = 256;
  static constexpr size_t kAudioPackets = 256;
  static constexpr size_t kSubpicturePackets = 64;

  DVDPresenter(DVDClock& clock, std::unique_ptr<DVDAudioSink> sink);
  ~DVDPresenter();
  DVDPresenter(DVDPresenter const&) = delete;
  DVDPresenter& operator=(DVDPresenter const&) = delete;

  bool Construct();

  // From the navigator (its lock held): handed to the decoders' thread and carried out
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
  // The speed changed at clock time from by num / den: everything after it, queued or still
  // to be read, is placed again; keyFramesOnly as the new speed decodes.
  void Retime(int64_t from, int num, int den, bool keyFramesOnly);

  // Shows the picture of the current title with this frame number as soon as it has been
  // decoded, paused or not, and drops the pictures before it; -1 cancels.
  void SetTarget(int64_t frame);
  // True when that picture is decoded and at hand (queued or kept from a step back), so
  // that it can be shown without reading the disc.
  bool HasPicture(int title, int64_t frame);
  // Where the picture at hand that shows frame is (its first frame and how many it is shown
  // for); frame itself, for one frame, when no such picture is at hand.
  DVDPicturePosition PictureShowing(int title, int64_t frame);
  bool TargetPending();
  // From the navigator (its lock held): the streams decoded and shown from now on, queued
  // pictures included; forcedOnly shows the pictures the disc forces only.
  void SelectStreams(int audio, int subpicture, bool forcedOnly);
  // The frame a seek or step is on its way to, -1 when none.
  int64_t Target();
  // The picture on screen waits for the one after it to be decoded.
  bool AfterMissing();
  // A jump has been handed over and not yet carried out.
  bool JumpOnItsWay() { return mFeed.JumpQueued() || mVideoWork.JumpQueued(); }
  // The position of the picture on screen (frameInTitle -1 when none).
  DVDPicturePosition Shown();

  // False when the decoders have all they can hold: the navigator waits for the listener,
  // called once room frees after a false answer.
  bool HasRoom();
  void SetRoomListener(std::function<void()> listener);

  void SetVolume(UInt16 volume, bool muted);
  void SetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr proc, void* refCon);
  // True when no picture is due and nothing waits to be drawn.
  bool IsQuiet();
  int64_t AudioDelivered();
  bool AudioIsDevice() const { return mSink->IsDevice(); }
  // The sound stream decoded last (-1 before any).
  int DecodedAudioStream() const { return mDecodedAudio.load(); }

  // The disc's closed captions, read from the disc at path and drawn over the pictures while
  // shown; null before.
  void SetCaptionSource(std::string const& path);
  DVDCaptionTrack* Captions() { return mCaptions.get(); }
  // Captions drawn from now on, over the picture on screen too.
  void ShowCaptions(bool shown);

  // The latest presented picture of the session, shared (null when there is none).
  static std::shared_ptr<DVDPicture const> LatestPicture();

 private:
  struct Frame {
    AVFrame* frame;
    int64_t due;
    DVDPicturePosition position;
  };
  // A decoded picture kept after it was shown or passed over, for steps back.
  struct Kept {
    std::shared_ptr<AVFrame const> frame;
    DVDPicturePosition position;
  };
  struct Placed {
    int64_t clockStart;
    DVDVobuTiming timing;
    // Whether the group starts halfway through a frame (a film picture after a repeated
    // field), told by its first picture; -1 until that is decoded.
    int halfway = -1;
    int64_t ticksIn = 0;  // of the group, before clockStart (placed again after a retime)
  };

  void DoBlock(uint8_t const* data, size_t size);
  void DoStartVobu(DVDVobuTiming const& timing);
  void DoEndOfStream();
  void DoDiscontinuity();
  void DoSetPalette(std::array<uint32_t, 16> const& clut);
  void DoRetime(int64_t from, int num, int den, bool keyFramesOnly);
  void DoSetTarget(int64_t frame);
  void ApplyTarget(int64_t frame);
  void ApplyStreams(int subpicture, bool forcedOnly);
  void DecodeAudio(DVDStreamKind kind, int index, std::vector<uint8_t> const& bytes, int64_t at);
  // Sound queued so far goes (decoder and sink), in order with what comes before it.
  void FlushAudio();
  void DoSelectStreams(int audio, int subpicture, bool forcedOnly);
  void Payload(DVDPayload const& payload);
  void VideoFrame(AVFrame* frame);
  void Audio(int64_t at, int rate, int16_t const* samples, size_t frames);
  // A time stamp on the decoders' time line: the clock less the pauses since.
  int64_t Map(int64_t pts) const;
  void Run();
  void Compose(std::unique_lock<std::mutex>& lk);
  void ClearQueue();
  // Where a picture due then belongs; picture (may be null) tells how long it is shown.
  DVDPicturePosition PositionAt(int64_t due, AVFrame const* picture = nullptr);
  // A picture at hand that shows frame of title: shown, kept or queued.
  DVDPicturePosition const* Covering(int title, int64_t frame) const;
  // A decoded frame of one's own, freed with its last reference.
  static std::shared_ptr<AVFrame const> Own(AVFrame* frame);
  // Puts a queued picture on screen; the one it replaces is kept.
  void ShowQueued();
  void Keep(std::shared_ptr<AVFrame const> frame, DVDPicturePosition const& position);
  // Shows the target when it is at hand; true when it was.
  bool ShowTarget();
  // The decoded picture delta frames from position, when at hand.
  std::shared_ptr<AVFrame const> Neighbour(DVDPicturePosition const& position, int delta) const;

  DVDClock& mClock;
  std::unique_ptr<DVDAudioSink> mSink;
  int mListener = 0;
  DVDDemuxer mDemuxer;
  DVDVideoDecoder mVideo;
  std::unique_ptr<DVDAudioDecoder> mAudio;
  std::atomic<int> mDecodedAudio{-1};
  bool mHaveTiming = false;
  bool mFlushSubpictures = false;
  // The group being decoded.
  DVDVobuTiming mTiming;

  std::mutex mMutex;
  std::condition_variable mWake;
  bool mQuit = false;
  bool mHeld = false;
  bool mRecompose = false;
  std::deque<Frame> mQueue;
  std::deque<Placed> mPlaced;
  std::array<DVDSubpictureDecoder, 32> mSubpictures;  // by stream
  std::array<uint32_t, 16> mClut{};
  DVDHighlight mHighlight;
  std::shared_ptr<AVFrame const> mShown;
  std::shared_ptr<AVFrame const> mShownBefore;
  int64_t mShownDue = 0;
  DVDPicturePosition mShownPosition;
  std::deque<Kept> mKept;
  int64_t mTarget = -1;
  bool mTargetCheck = false;  // a picture came or the target changed
  bool mAfterMissing = false;  // the picture published has no neighbour after it yet
  UInt32 mNumber = 0;
  UInt16 mVolume = 255;
  bool mMuted = false;
  DVDFrameReadyCallBackFunctionPtr mReadyProc = nullptr;
  void* mReadyRefCon = nullptr;
  bool mInCallBack = false;
  std::thread mThread;
  // Its thread calls back into the presenter: stopped once the presenter's own has.
  std::unique_ptr<DVDCaptionTrack> mCaptions;
  // The stages' threads, stopped first: the demultiplexer (fed by the reader), then a decoder
  // thread each for pictures, sound and subpictures, with their queues.
  DVDDecodeFeed mFeed{kFeedBlocks};
  DVDDecodeFeed mVideoWork{kVideoPackets};
  DVDDecodeFeed mAudioWork{kAudioPackets};
  DVDDecodeFeed mSubpictureWork{kSubpicturePackets};
};

}  // namespace dvd
