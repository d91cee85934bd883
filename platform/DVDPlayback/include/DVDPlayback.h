// The DVD playback service: one session per process (and per user, across processes),
// media, playback commands, disc menus and the events the service reports.
// Calls are made from any one application thread; events arrive on the service's own
// event thread.
#pragma once

#include "Files/Files.h"
#include "MacTypes.h"

// Status codes.
constexpr OSStatus kDVDErrorServiceBusy = -70002;              // another process holds the service
constexpr OSStatus kDVDErrorNotInitialized = -70003;           // DVDInitialize has not been called
constexpr OSStatus kDVDErrorNotAllowedNow = -70004;            // not in this playback state / domain
constexpr OSStatus kDVDErrorNoMedia = -70005;                  // no media open
constexpr OSStatus kDVDErrorMediaNotDVD = -70015;              // the object is not DVD-Video
constexpr OSStatus kDVDErrorInvalidArgument = -70016;          // null pointer, bad reference or value
constexpr OSStatus kDVDErrorMediaAlreadyOpen = -70017;         // close the open media first
constexpr OSStatus kDVDErrorReadFailed = -70018;               // the disc could not be read
constexpr OSStatus kDVDErrorRegionCodeUninitialized = -70024;  // the drive's region was never set
constexpr OSStatus kDVDErrorMediaScrambled = -70030;  // CSS-scrambled, and libdvdcss is missing

using DVDEventCode = UInt32;
using DVDEventValue = UInt32;
using DVDEventCallBackRef = UInt32;

enum : DVDEventCode {
  kDVDEventTitle = 1,            // data1 = title number (0 on a menu)
  kDVDEventPTT = 2,              // data1 = chapter (part of title)
  kDVDEventDisplayMode = 7,      // data1 = DVDAspectRatio
  kDVDEventPlayback = 11,        // data1 = DVDState
  kDVDEventVideoStandard = 12,   // data1 = DVDVideoStandard
  kDVDEventTitleTime = 20,       // data1 = elapsed ms, data2 = title length ms
  kDVDEventError = 24,           // data1 = status
};

using DVDState = SInt32;
enum : DVDState {
  kDVDStateUnknown = 0,
  kDVDStatePlaying = 1,
  kDVDStatePlayingStill = 2,
  kDVDStatePaused = 3,
  kDVDStateStopped = 4,
  kDVDStateScanning = 5,
  kDVDStateIdle = 6,
};

using DVDAspectRatio = SInt16;
enum : DVDAspectRatio {
  kDVDAspectRatioUninitialized = 0,
  kDVDAspectRatio4x3 = 1,
  kDVDAspectRatio4x3PanAndScan = 2,
  kDVDAspectRatio16x9 = 3,
  kDVDAspectRatioLetterBox = 4,
};

using DVDUserNavigation = SInt32;
enum : DVDUserNavigation {
  kDVDUserNavigationMoveUp = 1,
  kDVDUserNavigationMoveDown = 2,
  kDVDUserNavigationMoveLeft = 3,
  kDVDUserNavigationMoveRight = 4,
  kDVDUserNavigationEnter = 5,
};

using DVDMenu = SInt32;
enum : DVDMenu {
  kDVDMenuTitle = 0,
  kDVDMenuRoot = 1,
  kDVDMenuSubPicture = 2,
  kDVDMenuAudio = 3,
  kDVDMenuAngle = 4,
  kDVDMenuPTT = 5,
  kDVDMenuNone = 6,
};

using DVDScanRate = SInt16;
enum : DVDScanRate {
  kDVDScanRateOne = 1,
  kDVDScanRate2x = 2,
  kDVDScanRate4x = 4,
  kDVDScanRate8x = 8,
  kDVDScanRate16x = 16,
  kDVDScanRate32x = 32,
};

using DVDScanDirection = SInt8;
enum : DVDScanDirection {
  kDVDScanDirectionForward = 0,
  kDVDScanDirectionBackward = 1,
};

using DVDVideoStandard = SInt32;
enum : DVDVideoStandard {
  kDVDVideoStandardUnknown = 0,
  kDVDVideoStandardNTSC = 1,
  kDVDVideoStandardPAL = 2,
};

// Region codes are the disc's restriction mask: a clear bit n is a playable region n+1.
using DVDRegionCode = UInt32;
enum : DVDRegionCode { kDVDRegionCodeUninitialized = 0xFF };

using DVDMediaUniqueID = UInt8[8];

using DVDEventCallBackFunctionPtr = void (*)(DVDEventCode inEventCode, DVDEventValue inEventData1,
                                             DVDEventValue inEventData2, void* inRefCon);
using DVDFatalErrCallBackFunctionPtr = void (*)(OSStatus inError, void* inRefCon);

// Session.
OSStatus DVDInitialize();
// A session for taking stills beside the user's player (a command-line tool, a batch): no
// sound device, and not the one session the busy lock allows.
OSStatus DVDInitializeForStills();
OSStatus DVDDispose();
OSStatus DVDRegisterEventCallBack(DVDEventCallBackFunctionPtr inCallBackProc,
                                  DVDEventCode const* inCode, UInt32 inCodeCount,
                                  void* inRefCon, DVDEventCallBackRef* outCallBackID);
OSStatus DVDUnregisterEventCallBack(DVDEventCallBackRef inCallBackID);
OSStatus DVDSetFatalErrorCallBack(DVDFatalErrCallBackFunctionPtr inCallBackProc, void* inRefCon);
OSStatus DVDSetTimeEventRate(UInt32 inMilliseconds);
OSStatus DVDSleep();
OSStatus DVDWakeUp();

// Media.
OSStatus DVDHasMedia(Boolean* outHasMedia);
OSStatus DVDOpenMediaVolume(FSRef const* inRef);
OSStatus DVDOpenMediaFile(FSRef const* inRef);
OSStatus DVDCloseMediaVolume();
OSStatus DVDCloseMediaFile();
OSStatus DVDGetMediaUniqueID(DVDMediaUniqueID outDiscID);
OSStatus DVDGetDiscRegionCode(DVDRegionCode* outCode);
OSStatus DVDGetDriveRegionCode(DVDRegionCode* outCode, SInt16* outNumberChangesLeft);

// Audio (0..255).
OSStatus DVDIsMuted(Boolean* outIsMuted);
OSStatus DVDMute(Boolean inMute);
OSStatus DVDGetAudioVolumeInfo(UInt16* outMinVolume, UInt16* outCurVolume, UInt16* outMaxVolume);
OSStatus DVDSetAudioVolume(UInt16 inVolume);

// Playback and navigation.
OSStatus DVDPlay();
OSStatus DVDPause();
OSStatus DVDStop();
OSStatus DVDScan(DVDScanRate inRate, DVDScanDirection inDirection);
// Chapters counted from the picture on screen, each to its first frame; paused, that frame
// shows and playback stays paused. Previous goes back to the start of the chapter on screen
// when more than 3 s into it, else to the chapter before. Next on the last chapter:
// kDVDErrorNotAllowedNow.
OSStatus DVDNextChapter();
OSStatus DVDPreviousChapter();
OSStatus DVDIsOnMenu(Boolean* outOnMenu, DVDMenu* outMenu);
OSStatus DVDReturnToTitle();
OSStatus DVDGoToMenu(DVDMenu inMenu);
OSStatus DVDGetNumAngles(UInt16* outNumAngles);
OSStatus DVDGetAngle(UInt16* outAngle);
OSStatus DVDSetAngle(UInt16 inAngle);
OSStatus DVDDoUserNavigation(DVDUserNavigation inNavigation);

// Bookmarks: with a null block the size is answered; then the block is filled.
OSStatus DVDGetBookmark(void* outBookmarkData, UInt32* ioBookmarkDataSize);
OSStatus DVDGotoBookmark(void const* inBookmarkData, UInt32 inBookmarkDataSize);

// Video output and disc-menu pointing. Points and bounds are in window coordinates; the
// video rectangle maps onto the disc's 720-wide picture.
OSStatus DVDSetVideoWindowID(UInt32 inWindowID);
OSStatus DVDSetVideoBounds(Rect const* inRect);
OSStatus DVDSwitchToDisplay(UInt32 inDisplay, Boolean* outSupported);
OSStatus DVDGetAspectRatio(DVDAspectRatio* outRatio);
OSStatus DVDGetNativeVideoSize(UInt16* outWidth, UInt16* outHeight);
OSStatus DVDDoMenuClick(Point inPortPt, SInt32* outIndex);
OSStatus DVDDoMenuMouseOver(Point inPortPt, SInt32* outIndex);

// The picture as presented: what the video view draws and what stills are taken from.
// Pixels are RGB, 3 bytes each, rows top down without padding, at the stream's coded size,
// with the subpicture and the menu highlight drawn; shown, it is stretched to
// displayWidth x displayHeight (the display aspect).
struct DVDPresentedFrameInfo {
  UInt16 width;           // 720
  UInt16 height;          // 480 or 576
  UInt16 displayWidth;    // width at the display aspect, same height
  UInt16 displayHeight;
  UInt32 rowBytes;
  DVDAspectRatio aspect;  // kDVDAspectRatio4x3 or kDVDAspectRatio16x9
  UInt16 title;           // 0 on a menu
  UInt16 chapter;
  UInt32 elapsedMs;       // title time of the picture
  UInt32 frameNumber;     // pictures presented since the media was opened, from 1
  UInt32 frameInTitle;    // the picture's frame in its title, from 0; kDVDNoFrame on a menu
  UInt32 framesShown;     // frames it is on screen for, from frameInTitle: 1, or 2 on film
};

constexpr UInt32 kDVDNoFrame = 0xFFFFFFFF;

// With null pixels only the information and the size needed are answered; then the
// pixels are copied. kDVDErrorNotAllowedNow until a picture has been presented.
OSStatus DVDCopyPresentedFrame(DVDPresentedFrameInfo* outInfo, void* outPixels,
                               UInt32* ioPixelsSize);

// Called on the service's presentation thread each time a new picture is presented (or
// the one shown is drawn again, e.g. when the highlight moves). The callback only hands on
// to the application's thread, which then calls DVDCopyPresentedFrame; it calls nothing
// else of the service (closing the media waits for it). Once this returns, the callback
// it replaced is no longer running.
using DVDFrameReadyCallBackFunctionPtr = void (*)(UInt32 inFrameNumber, void* inRefCon);
OSStatus DVDSetFrameReadyCallBack(DVDFrameReadyCallBackFunctionPtr inCallBackProc,
                                  void* inRefCon);

// Frame-exact positions in the current title. Frame n of an NTSC title is on screen from
// n x 1001/30000 s, of a PAL title from n x 0.04 s. Seeking and stepping return at once; the
// picture follows. kDVDErrorNotAllowedNow on a menu, a still or without playback;
// kDVDErrorInvalidArgument for a frame outside the title.
// Film on NTSC discs keeps this one scheme. Pulldown-flagged film (soft telecine) codes 4
// pictures for every 5 frames: every other picture repeats a field and stays on screen for
// 2 frames. Such a picture's frame is the first frame it is on screen for, and it is the
// picture shown at both (framesShown says 2); every frame can be sought to, and shows the
// film frame on screen then. Telecined film coded as interlaced frames (hard telecine) has
// a picture for every frame.
OSStatus DVDGetFrameInTitle(UInt32* outFrame);
OSStatus DVDGetTitleFrameCount(UInt32* outFrames);
// Shows the picture on screen at that frame, playing or paused as before.
OSStatus DVDSeekToFrame(UInt32 inFrame);
// Pauses, then moves by that many frames (negative: back), at least to the next or previous
// picture: one step on film shows the next or previous film frame, never the same again.
OSStatus DVDStepFrame(SInt32 inFrames);

// The presented picture as decoded: planar Y'CbCr 4:2:0 at the stored size, Y rows
// (width bytes each), then Cb and Cr rows (width / 2 bytes each, height / 2 rows).
using DVDColorMatrix = UInt8;
enum : DVDColorMatrix {
  kDVDColorMatrixBT601 = 0,  // the default of DVD video
  kDVDColorMatrixBT709 = 1,
  kDVDColorMatrixSMPTE240M = 2,
};
// Ask for the pictures just before and after it (a deinterlacer's neighbours).
enum : UInt32 { kDVDDecodedBefore = 1, kDVDDecodedAfter = 2 };
struct DVDDecodedFrameInfo {
  UInt16 width;            // 720 (or the stream's stored width)
  UInt16 height;           // 480 or 576
  UInt32 pictureBytes;     // one picture: width x height x 3 / 2
  DVDAspectRatio aspect;   // kDVDAspectRatio4x3 or kDVDAspectRatio16x9
  UInt16 title;            // 0 on a menu
  UInt16 chapter;
  UInt32 elapsedMs;
  UInt32 frameInTitle;     // kDVDNoFrame on a menu
  UInt32 frameNumber;      // as DVDPresentedFrameInfo's
  Boolean progressive;     // coded as a frame; otherwise as two fields
  Boolean topFieldFirst;
  Boolean repeatFirstField;
  DVDColorMatrix matrix;
  Boolean fullRange;       // false: TV range (Y 16-235, Cb Cr 16-240)
  UInt32 neighbours;       // which of those asked for are copied (kDVDDecoded...)
  UInt32 framesShown;      // as DVDPresentedFrameInfo's
};
// With null pixels only the information and the size needed are answered (before, picture,
// after, in that order, those asked for and at hand); then the pixels are copied.
OSStatus DVDCopyDecodedFrame(UInt32 inNeighbours, DVDDecodedFrameInfo* outInfo, void* outPixels,
                             UInt32* ioPixelsSize);
// The subpicture and menu highlight as drawn over the presented picture, alone: RGBA, 4 bytes
// a pixel with straight alpha, rows of width x 4 bytes, transparent where nothing is drawn.
OSStatus DVDCopyPresentedOverlay(DVDPresentedFrameInfo* outInfo, void* outPixels,
                                 UInt32* ioPixelsSize);

// Sound and subtitle streams of the title playing, numbered as the disc numbers them (from
// 0). Languages are the two letters the disc stores ('e' << 8 | 'n' for English), 0 when it
// names none. kDVDErrorNotAllowedNow outside a title; kDVDErrorInvalidArgument for a stream
// the title does not have.
using DVDLanguageCode = UInt16;
OSStatus DVDGetNumAudioStreams(UInt16* outNumStreams);
OSStatus DVDGetAudioStream(UInt16* outStreamNum);
OSStatus DVDSetAudioStream(UInt16 inStreamNum);
OSStatus DVDGetAudioLanguageCode(UInt16 inStreamNum, DVDLanguageCode* outCode);
OSStatus DVDGetNumSubPictureStreams(UInt16* outNumStreams);
OSStatus DVDGetSubPictureStream(UInt16* outStreamNum);
OSStatus DVDSetSubPictureStream(UInt16 inStreamNum);
OSStatus DVDGetSubPictureLanguageCode(UInt16 inStreamNum, DVDLanguageCode* outCode);
// Disabled, only the subpictures the disc forces are shown.
OSStatus DVDEnableSubPicture(Boolean inEnable);
OSStatus DVDIsSubPictureEnabled(Boolean* outEnabled);

// Closed captions (line 21, channel CC1) that a title's pictures carry. Whether the title on
// screen has them is looked up when it comes on screen (false until then). Shown, they are
// drawn over the picture (presented frames, overlays and stills), for every disc opened.
// DVDReadClosedCaptions reads a whole title first: it takes as long as reading the title,
// so never call it from a thread that must not wait; frames are title frame numbers, each
// caption shown from inFirstFrame up to, not with, inEndFrame.
using DVDClosedCaptionProcPtr = void (*)(UInt32 inFirstFrame, UInt32 inEndFrame,
                                         char const* inText, void* inRefCon);
OSStatus DVDHasClosedCaptions(Boolean* outHasCaptions);
OSStatus DVDSetClosedCaptionsShown(Boolean inShown);
OSStatus DVDGetClosedCaptionsShown(Boolean* outShown);
OSStatus DVDReadClosedCaptions(UInt16 inTitle, DVDClosedCaptionProcPtr inProc, void* inRefCon);

// The disc's titles, as its information files describe them (read when the disc is opened):
// listed without playing them. Frame numbers are those the service presents: frames as
// DVDGetTitleFrameCount counts them, chapters starting where the first picture after a
// chapter jump is numbered.
enum : UInt8 {
  kDVDAudioFormatAC3 = 0,
  kDVDAudioFormatMPEG = 1,
  kDVDAudioFormatLPCM = 2,
  kDVDAudioFormatDTS = 3,
  kDVDAudioFormatOther = 4,
};
struct DVDTitleInfo {
  UInt32 frames;              // pictures in the title, as DVDGetTitleFrameCount counts them
  UInt32 durationMs;          // frames at the title's frame rate (1001/30000 s or 1/25 s each)
  UInt16 chapters;
  UInt16 angles;
  DVDVideoStandard standard;  // kDVDVideoStandardNTSC or kDVDVideoStandardPAL
  DVDAspectRatio aspect;      // kDVDAspectRatio4x3 or kDVDAspectRatio16x9
  UInt16 width;               // stored size: 720 x 480 / 576 (or the title set's coded size)
  UInt16 height;
  // Streams numbered as DVDGetNumAudioStreams and the like number them: the count runs to
  // the last stream the title has; one it skips has language 0, format Other, 0 channels.
  UInt16 audioStreams;        // up to 8
  DVDLanguageCode audioLanguages[8];
  UInt8 audioFormats[8];      // kDVDAudioFormat...
  UInt16 audioChannels[8];
  UInt16 subPictureStreams;   // up to 32
  DVDLanguageCode subPictureLanguages[32];
};
// Titles are numbered from 1. A title whose title set cannot be read has no chapters or
// frames, and an unknown standard and aspect. kDVDErrorNotAllowedNow without a disc;
// kDVDErrorInvalidArgument for a title the disc lacks or a null pointer.
OSStatus DVDGetNumTitles(UInt16* outNumTitles);
OSStatus DVDGetTitleInfo(UInt16 inTitle, DVDTitleInfo* outInfo);
// The first frame in the title of each chapter (chapter 1 first, always 0): up to *ioCount
// are written; *ioCount is set to the title's chapter count. outFrames may be null only
// when *ioCount is 0.
OSStatus DVDGetChapterFirstFrames(UInt16 inTitle, UInt32* outFrames, UInt16* ioCount);
// The title playing (0 on a menu or stopped).
OSStatus DVDGetTitle(UInt16* outTitle);
// Plays the title from its start (as a title search would), from a menu or a stop too;
// returns at once, the pictures follow. kDVDErrorNotAllowedNow without a disc,
// kDVDErrorInvalidArgument for a title the disc lacks.
OSStatus DVDSetTitle(UInt16 inTitle);
// Plays chapter inChapter (from 1) of the title playing, as DVDNextChapter moves (paused, its
// first frame shows): returns at once. kDVDErrorNotAllowedNow without a disc or outside a
// title; kDVDErrorInvalidArgument for a chapter the title lacks.
OSStatus DVDSetChapter(UInt16 inChapter);

// The presented picture for a view that converts and scales it itself (on the GPU): its
// planes as DVDCopyDecodedFrame gives them and, when something is drawn over it, the overlay
// as DVDCopyPresentedOverlay gives it, both of the same picture.
struct DVDPresentedPlanesInfo {
  DVDPresentedFrameInfo frame;  // rowBytes: the overlay's, width x 4
  DVDColorMatrix matrix;
  Boolean fullRange;            // false: video range (Y' 16-235, Cb Cr 16-240)
  Boolean hasOverlay;           // false: nothing is drawn over it (no overlay is copied)
  UInt32 planesBytes;           // width x height x 3 / 2
  UInt32 overlayBytes;          // width x height x 4
};
// With null planes only the information is answered; the overlay is copied when there is one
// and outOverlay is not null. kDVDErrorInvalidArgument when a buffer is too small (the
// information then says the sizes needed).
OSStatus DVDCopyPresentedPlanes(DVDPresentedPlanesInfo* outInfo, void* outPlanes,
                                UInt32 inPlanesSize, void* outOverlay, UInt32 inOverlaySize);

// A signature of every frame of a title, for lining two titles up: its luma averaged down
// to kDVDSignatureWidth x kDVDSignatureHeight bytes (the whole stored picture, rows top
// down), frames numbered as DVDGetTitleFrameCount counts them (a film picture shown at two
// frames is given for both). Reads the whole title first, as DVDReadClosedCaptions does.
enum : UInt16 { kDVDSignatureWidth = 32, kDVDSignatureHeight = 24 };
using DVDFrameSignatureProcPtr = void (*)(UInt32 inFrame, UInt8 const* inLuma, void* inRefCon);
OSStatus DVDReadFrameSignatures(UInt16 inTitle, DVDFrameSignatureProcPtr inProc, void* inRefCon);
