// A link-time stand-in for the DVD playback service: records every call and answers
// what the test set up.
#pragma once

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "DVDPlayback.h"
#include "DVDStill.h"

namespace fake_dvd {

struct State {
  // Status answered by a call, by function name; calls not listed answer 0.
  std::map<std::string, OSStatus> status;
  std::map<std::string, int> calls;

  bool initialized = false;
  Boolean hasMedia = false;
  bool mediaIsVolume = false;
  std::string openedPath;
  Boolean muted = false;
  UInt16 minVolume = 0, curVolume = 128, maxVolume = 255;
  UInt16 setVolume = 0;
  UInt16 numAngles = 1, angle = 1, setAngle = 0;
  DVDAspectRatio aspect = kDVDAspectRatio4x3;
  UInt16 nativeWidth = 720, nativeHeight = 480;
  Boolean onMenu = false;
  DVDMenu goToMenu = kDVDMenuNone;
  DVDScanRate scanRate = 0;
  DVDScanDirection scanDirection = 0;
  std::vector<DVDUserNavigation> navigation;
  UInt32 bookmarkSize = 8;
  UInt32 bookmarkCounter = 0;  // each new bookmark holds the next number
  std::vector<UInt32> gotoBookmarks;  // the numbers of the bookmarks gone to
  UInt32 windowID = 0;
  Rect videoBounds{};
  UInt32 switchedDisplay = 0;
  Boolean displaySupported = true;
  Point menuPoint{};
  SInt32 menuIndex = -1;  // what a menu click or mouse-over answers
  std::vector<DVDEventCode> registeredCodes;
  DVDEventCallBackFunctionPtr eventCallBack = nullptr;
  void* eventRefCon = nullptr;
  DVDFatalErrCallBackFunctionPtr fatalCallBack = nullptr;
  void* fatalRefCon = nullptr;
  UInt32 timeEventRate = 0;
  // The presented picture: none until a colour is set.
  bool hasFrame = false;
  UInt32 frameInTitle = 0;         // the frame DVDGetFrameInTitle and DVDCopyPresentedFrame tell
  UInt16 presentedTitle = 1;       // DVDCopyPresentedFrame's title and chapter
  UInt16 presentedChapter = 1;
  std::vector<SInt32> steps;       // DVDStepFrame's arguments, in order
  std::vector<UInt32> seeks;       // DVDSeekToFrame's, in order
  bool stillWithOverlay = false;   // DVDTakeStill's last argument
  unsigned char frameRGB[3] = {0, 0, 0};
  DVDFrameReadyCallBackFunctionPtr frameReady = nullptr;
  void* frameRefCon = nullptr;
  // The disc's titles (title n is titles[n - 1]), answered while media is open.
  struct Title {
    DVDTitleInfo info{};
    std::vector<UInt32> chapterFirstFrames;
  };
  std::vector<Title> titles;
  UInt16 playingTitle = 0;          // DVDGetTitle's answer; DVDSetTitle plays its title
  std::vector<UInt16> setTitles;    // DVDSetTitle's arguments, in order
  std::vector<UInt16> setChapters;  // DVDSetChapter's
  // The title's streams by their languages; the ones chosen.
  std::vector<DVDLanguageCode> audioLanguages;
  UInt16 audioStream = 0;
  std::vector<DVDLanguageCode> subPictureLanguages;
  UInt16 subPictureStream = 0;
  Boolean subPictureEnabled = false;
  Boolean hasClosedCaptions = false;
  Boolean closedCaptionsShown = false;
};

State& S();
void Reset();
// Counted under a lock: the controller opens media on a thread of its own.
int Calls(char const* name);

// While held, an open waits in the service (on its thread) until released.
void HoldOpens();
void ReleaseOpens();
// Whether an open is waiting, held; and whether the last open ran off the calling thread.
bool OpenIsHeld();
void WaitWhileHeld();  // what the fake's opens do first
bool LastOpenRanOnAnotherThreadThan(std::thread::id id);

}  // namespace fake_dvd
