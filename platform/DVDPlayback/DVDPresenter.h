// Turns what the navigator reads into pictures and sound: demultiplexes each block,
// decodes the selected streams, and presents each picture at its time on the service
// clock (late ones are dropped), converted once to RGB with the subpicture and the menu
// highlight drawn. Sound goes to the audio sink on the same time line. Its own thread
// presents; the navigator's thread feeds it.
#pragma once

#include "DVDAudioDecoder.h"
#include "DVDAudioSink.h"
#include "DVDClock.h"
#include "DVDDemuxer.h"
#include "DVDPlayback.h"
#include "DVDSubpictureDecoder.h"
#include "DVDVideoDecoder.h"

#include <array>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

struct AVFrame;
struct SwsContext;

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
};

// A presented picture: RGB24 rows at the stream's coded size.
struct DVDPicture {
  std::vector<uint8_t> rgb;
  int width = 0;
  int height = 0;
  DVDAspectRatio aspect = kDVDAspectRatio4x3;
  int title = 0;
  int chapter = 0;
  int64_t titleTime = 0;
  UInt32 number = 0;
};

class DVDPresenter {
 public:
  DVDPresenter(DVDClock& clock, std::unique_ptr<DVDAudioSink> sink);
  ~DVDPresenter();
  DVDPresenter(DVDPresenter const&) = delete;
  DVDPresenter& operator=(DVDPresenter const&) = delete;

  bool Construct();

  // From the navigator (its lock held, so these never run at the same time).
  void Block(uint8_t const* data, size_t size);
  void StartVobu(DVDVobuTiming const& timing);
  // The stream stops here (a still or the end): what the decoder holds is shown.
  void EndOfStream();
  // The position moved: nothing read before counts.
  void Discontinuity();
  void SetPalette(std::array<uint32_t, 16> const& clut);
  void SetHighlight(DVDHighlight const& highlight);
  void Hold(bool hold);
  void Shift(int64_t ticks);
  // The speed changed at clock time from by num / den: everything after it, queued or still
  // to be read, is placed again; keyFramesOnly as the new speed decodes.
  void Retime(int64_t from, int num, int den, bool keyFramesOnly);

  void SetVolume(UInt16 volume, bool muted);
  void SetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr proc, void* refCon);
  // True when no picture is due and nothing waits to be drawn.
  bool IsQuiet();
  int64_t AudioDelivered();
  bool AudioIsDevice() const { return mSink->IsDevice(); }

  // The latest presented picture of the session; false when there is none.
  static bool CopyLatest(DVDPicture& out);
  // Its size only (no pixels copied).
  static bool LatestInfo(DVDPicture& out);

 private:
  struct Frame {
    AVFrame* frame;
    int64_t due;
  };
  struct Placed {
    int64_t clockStart;
    DVDVobuTiming timing;
  };

  void Payload(DVDPayload const& payload);
  void VideoFrame(AVFrame* frame);
  void Audio(int64_t at, int rate, int16_t const* samples, size_t frames);
  // A time stamp on the decoders' time line: the clock less the pauses since.
  int64_t Map(int64_t pts) const;
  void Run();
  void Compose(std::unique_lock<std::mutex>& lk);
  void ClearQueue();

  DVDClock& mClock;
  std::unique_ptr<DVDAudioSink> mSink;
  int mListener = 0;
  DVDDemuxer mDemuxer;
  DVDVideoDecoder mVideo;
  std::unique_ptr<DVDAudioDecoder> mAudio;
  bool mHaveTiming = false;
  bool mFlushSubpictures = false;
  // The group being read; its clockStart does not count the pauses since (mShifted), so
  // that what the decoders hold over a pause still comes out at the right time.
  DVDVobuTiming mTiming;
  int64_t mShifted = 0;

  std::mutex mMutex;
  std::condition_variable mWake;
  bool mQuit = false;
  bool mHeld = false;
  bool mRecompose = false;
  std::deque<Frame> mQueue;
  std::deque<Placed> mPlaced;
  DVDSubpictureDecoder mSubpictures;
  std::array<uint32_t, 16> mClut{};
  DVDHighlight mHighlight;
  AVFrame* mShown = nullptr;
  int64_t mShownDue = 0;
  DVDVobuTiming mShownTiming;
  SwsContext* mScaler = nullptr;
  UInt32 mNumber = 0;
  UInt16 mVolume = 255;
  bool mMuted = false;
  DVDFrameReadyCallBackFunctionPtr mReadyProc = nullptr;
  void* mReadyRefCon = nullptr;
  bool mInCallBack = false;
  std::thread mThread;
};

}  // namespace dvd
