#include "DVDCaptionTrack.h"

#include <algorithm>

namespace dvd {

DVDCaptionTrack::DVDCaptionTrack(std::string path, bool lookUpEarly)
    : mPath(std::move(path)), mLookUpEarly(lookUpEarly) {
  mThread = std::thread([this] { Run(); });
}

DVDCaptionTrack::~DVDCaptionTrack() {
  {
    std::lock_guard<std::mutex> g(mMutex);
    mQuit = true;
  }
  mStop = true;
  mWake.notify_all();
  mThread.join();
}

void DVDCaptionTrack::Follow(int title) {
  std::lock_guard<std::mutex> g(mMutex);
  if (title == mTitle) return;
  mTitle = title;
  mStop = true;
  mWake.notify_all();
}

void DVDCaptionTrack::SetShown(bool shown) {
  std::lock_guard<std::mutex> g(mMutex);
  mShown = shown;
  mWake.notify_all();
}

void DVDCaptionTrack::SetListener(std::function<void()> listener) {
  std::lock_guard<std::mutex> g(mMutex);
  mListener = std::move(listener);
}

int DVDCaptionTrack::Carries(int title) {
  std::lock_guard<std::mutex> g(mMutex);
  auto const it = mCarries.find(title);
  return it == mCarries.end() ? -1 : it->second;
}

std::shared_ptr<DVDCaption const> DVDCaptionTrack::At(int title, int64_t frame) {
  std::lock_guard<std::mutex> g(mMutex);
  auto const it = mRead.find(title);
  if (it == mRead.end() || frame < 0) return nullptr;
  auto const& cues = it->second.cues;
  auto const after = std::upper_bound(
      cues.begin(), cues.end(), frame,
      [](int64_t f, std::shared_ptr<DVDCaption const> const& c) { return f < c->firstFrame; });
  if (after == cues.begin()) return nullptr;
  auto const& cue = *(after - 1);
  return frame < cue->endFrame ? cue : nullptr;
}

std::shared_ptr<DVDCaption const> DVDCaptionTrack::Caption(DVDCaptionCue const& cue) {
  auto caption = std::make_shared<DVDCaption>();
  caption->text = cue.text;
  caption->firstFrame = cue.firstFrame;
  caption->endFrame = cue.endFrame;
  return caption;
}

void DVDCaptionTrack::Add(int title, DVDCaptionCue const& cue) {
  auto caption = Caption(cue);
  std::lock_guard<std::mutex> g(mMutex);
  mRead[title].cues.push_back(std::move(caption));
  mAdded = true;
}

bool DVDCaptionTrack::Known(int title, std::vector<DVDCaptionCue>* cues) {
  cues->clear();
  std::lock_guard<std::mutex> g(mMutex);
  auto const it = mRead.find(title);
  if (it == mRead.end() || !it->second.complete) return false;
  for (auto const& c : it->second.cues) cues->push_back({c->firstFrame, c->endFrame, c->text});
  return true;
}

void DVDCaptionTrack::Keep(int title, std::vector<DVDCaptionCue> const& cues) {
  Read read;
  for (DVDCaptionCue const& cue : cues) read.cues.push_back(Caption(cue));
  read.complete = true;
  std::lock_guard<std::mutex> g(mMutex);
  if (!cues.empty()) mCarries[title] = 1;
  mRead[title] = std::move(read);
}

void DVDCaptionTrack::Run() {
  DVDCaptionScan scan(mPath);
  std::unique_lock<std::mutex> lk(mMutex);
  while (!mQuit) {
    int const title = mTitle;
    mStop = false;
    bool const known = title <= 0 || mCarries.count(title) || (!mLookUpEarly && !mShown);
    auto const read = mRead.find(title);
    bool const wanted = title > 0 && mShown && (read == mRead.end() || !read->second.complete);
    if (!known) {
      lk.unlock();
      int const carries = scan.Carries(title) ? 1 : 0;
      lk.lock();
      mCarries.emplace(title, carries);
      continue;
    }
    if (wanted && mCarries[title] == 1) {
      // Only the title on screen's captions are kept, besides those read through.
      for (auto it = mRead.begin(); it != mRead.end();) {
        it = it->first != title && !it->second.complete ? mRead.erase(it) : std::next(it);
      }
      mRead[title] = Read{};
      lk.unlock();
      bool const ok = scan.Read(
          title, [&](DVDCaptionCue const& cue) { Add(title, cue); },
          [&](int64_t) {
            std::function<void()> listener;
            {
              std::lock_guard<std::mutex> g(mMutex);
              if (mAdded) listener = mListener;
              mAdded = false;
            }
            if (listener) listener();
          },
          &mStop);
      lk.lock();
      if (ok) {
        mRead[title].complete = true;
      } else if (!mStop) {
        mRead[title].complete = true;  // unreadable further: what was read stands
      }
      continue;
    }
    mWake.wait(lk, [&] {
      if (mQuit || mTitle != title) return true;
      if (mShown && mTitle > 0 && !mCarries.count(mTitle)) return true;  // looked up late
      auto const r = mRead.find(mTitle);
      return mShown && mTitle > 0 && mCarries.count(mTitle) && mCarries[mTitle] == 1 &&
             (r == mRead.end() || !r->second.complete);
    });
  }
}

}  // namespace dvd
