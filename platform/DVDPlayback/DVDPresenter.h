// The last stage: shows each decoded picture at its due time on the service clock (late ones
// are dropped), or a seek's or step's picture as soon as it has been decoded; keeps the
// picture on screen and those passed over for steps back and stills; composes it with the
// subpicture layer and the closed captions, publishes it and tells the application. Fed by
// the pipeline with decoded pictures, each with its due time and place; RGB is made only
// when asked for. Its lock guards its own fields only: nothing is decoded under it.
#pragma once

#include "DVDCaptionTrack.h"
#include "DVDClock.h"
#include "DVDClockMap.h"
#include "DVDFrameCallBack.h"
#include "DVDPicture.h"
#include "DVDPlayback.h"
#include "DVDSubpictureLayer.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

struct AVFrame;

namespace dvd {

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

// A decoded picture with its due time on the clock (in the epoch it was decoded in) and its
// place in its title.
struct DVDDecodedPicture {
  AVFrame* frame = nullptr;  // owned by whoever holds the item
  DVDClockTime due;
  DVDPicturePosition position;
};

class DVDPresenter {
 public:
  // map: where due times stand now; layer: what is drawn over the pictures (both outlive
  // the presenter).
  DVDPresenter(DVDClock& clock, DVDClockMap& map, DVDSubpictureLayer& layer);
  ~DVDPresenter();
  DVDPresenter(DVDPresenter const&) = delete;
  DVDPresenter& operator=(DVDPresenter const&) = delete;

  void Construct();

  // ---- from the pipeline's picture stage, in order
  // A decoded picture: queued by its due time.
  void Take(DVDDecodedPicture item);
  // A jump: nothing queued counts.
  void Clear();
  // A change of speed: the due times are looked at again.
  void Recheck();
  // The streams shown from now on, over queued and kept pictures too.
  void SetStreams(int subpicture, bool forcedOnly);
  // Shows the picture of the current title with this frame number as soon as it is at
  // hand; -1 cancels.
  void SetTarget(int64_t frame);
  // What is drawn over the picture changed: it is composed again.
  void Recompose();
  void Hold(bool hold);

  // ---- questions (any thread)
  int64_t Target();
  bool HasPicture(int title, int64_t frame);
  // Where the picture at hand that shows frame is; null position (frame itself, one frame)
  // when none is.
  DVDPicturePosition PictureShowing(int title, int64_t frame);
  bool AfterMissing();
  // The position of the picture on screen (frameInTitle -1 when none), and the one shown
  // last, kept when it goes.
  DVDPicturePosition Shown();
  DVDPicturePosition LastShown();
  // True when no picture is due and nothing waits to be drawn.
  bool IsQuiet();

  void SetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr proc, void* refCon) {
    mCallBack.Set(proc, refCon);
  }
  // The disc's closed captions, read from the disc at path and drawn over the pictures while
  // shown; null before.
  void SetCaptionSource(std::string const& path, bool lookUpEarly);
  DVDCaptionTrack* Captions() { return mCaptions.get(); }
  // Captions drawn from now on, over the picture on screen too.
  void ShowCaptions(bool shown);

  // The latest presented picture of the session, shared (null when there is none).
  static std::shared_ptr<DVDPicture const> LatestPicture();

 private:
  // A decoded picture kept after it was shown or passed over, for steps back.
  struct Kept {
    std::shared_ptr<AVFrame const> frame;
    DVDPicturePosition position;
  };

  void Run();
  // When a queued picture is due now.
  int64_t Due(DVDDecodedPicture const& picture) const { return mMap.Now(picture.due); }
  void Compose(std::unique_lock<std::mutex>& lk);
  void ClearQueue();
  // A picture at hand that shows frame of title: shown, kept or queued.
  DVDPicturePosition const* Covering(int title, int64_t frame) const;
  // A decoded frame of one's own, freed with its last reference.
  static std::shared_ptr<AVFrame const> Own(AVFrame* frame);
  // Puts a queued picture on screen; the one it replaces is kept.
  void ShowQueued();
  void ForgetFarPictures();
  void Keep(std::shared_ptr<AVFrame const> frame, DVDPicturePosition const& position);
  // Shows the target when it is at hand; true when it was.
  bool ShowTarget();
  // The decoded picture delta frames from position, when at hand.
  std::shared_ptr<AVFrame const> Neighbour(DVDPicturePosition const& position, int delta) const;

  DVDClock& mClock;
  DVDClockMap& mMap;
  DVDSubpictureLayer& mLayer;
  int mListener = 0;
  std::mutex mMutex;  // DVDLockOrder.h: the presenter's (5)
  std::condition_variable mWake;
  bool mQuit = false;
  bool mHeld = false;
  bool mRecompose = false;
  std::deque<DVDDecodedPicture> mQueue;
  std::shared_ptr<AVFrame const> mShown;
  DVDClockTime mShownDue;
  DVDPicturePosition mShownPosition;
  std::deque<Kept> mKept;
  int64_t mTarget = -1;
  bool mTargetCheck = false;   // a picture came or the target changed
  bool mAfterMissing = false;  // the picture published has no neighbour after it yet
  DVDFrameCallBack mCallBack;
  std::thread mThread;
  // Its thread calls back into the presenter: stopped once the presenter's own has.
  std::unique_ptr<DVDCaptionTrack> mCaptions;
};

}  // namespace dvd
