// The closed captions of the title on screen, read ahead of the picture by a thread of
// their own (DVDCaptionScan), so that a caption shows from its first frame after any seek or
// step, wherever it was loaded. Whether a title carries captions at all is looked up when
// it comes on screen (so a menu can offer them), or, for a track that looks up late, only once
// they are shown; its captions are read only while they are shown, or when all are asked
// for. Its lock guards the cues only; the disc is read outside it.
#pragma once

#include "DVDCaption.h"
#include "DVDCaptionScan.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace dvd {

class DVDCaptionTrack {
 public:
  // lookUpEarly false: nothing is read until captions are shown (a stills session asks for a
  // title's captions when it draws or writes them; a look-up per title costs a 4 MB read).
  DVDCaptionTrack(std::string path, bool lookUpEarly);
  ~DVDCaptionTrack();
  DVDCaptionTrack(DVDCaptionTrack const&) = delete;
  DVDCaptionTrack& operator=(DVDCaptionTrack const&) = delete;

  // The title on screen (0: a menu). Cheap; the looking up and reading happen on the
  // track's thread.
  void Follow(int title);
  void SetShown(bool shown);
  bool Shown() const { return mShown.load(); }
  // Called on the track's thread when captions for the title on screen have been read.
  void SetListener(std::function<void()> listener);

  // 1: the title carries captions, 0: it does not, -1: not looked up yet.
  int Carries(int title);
  // The caption on screen at frame of title; null when none (or not read that far yet).
  std::shared_ptr<DVDCaption const> At(int title, int64_t frame);
  // Every caption of title when it has been read through; false when not.
  bool Known(int title, std::vector<DVDCaptionCue>* cues);
  // A title's captions read through elsewhere (with a DVDCaptionScan of one's own).
  void Keep(int title, std::vector<DVDCaptionCue> const& cues);

 private:
  struct Read {
    std::vector<std::shared_ptr<DVDCaption const>> cues;  // in order
    bool complete = false;
  };

  void Run();
  void Add(int title, DVDCaptionCue const& cue);
  static std::shared_ptr<DVDCaption const> Caption(DVDCaptionCue const& cue);

  std::string mPath;
  bool const mLookUpEarly;
  std::atomic<bool> mShown{false};
  std::atomic<bool> mStop{false};  // the title being read is no longer wanted

  std::mutex mMutex;  // DVDLockOrder.h: a leaf (8)
  std::condition_variable mWake;
  bool mQuit = false;
  int mTitle = 0;
  std::map<int, int> mCarries;
  std::map<int, Read> mRead;  // the title on screen's, and ones kept read through
  bool mAdded = false;        // a cue came since the listener was last called
  std::function<void()> mListener;
  std::thread mThread;
};

}  // namespace dvd
