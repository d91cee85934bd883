// Lines two titles up (two releases of one film): from a small luma picture of every frame
// of each, the frame offset that matches them best. The centre of each picture is compared
// after its own mean and contrast are taken out, so that another encoder or bit rate, a few
// rows of crop or letterbox and a brightness or contrast change still match; pictures that
// are one flat colour (black, a fade) say nothing and are left out. The offset is searched
// first on the scene cuts alone (how much each picture differs from the one before), over
// every offset that leaves a third of the shorter title overlapping, then the best few
// candidates on the whole pictures.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "DVDPlayback.h"

// One title's signatures: width x height luma bytes a frame, frames in title order.
struct StillSignatures {
  int width = 0;
  int height = 0;
  uint32_t frames = 0;
  std::vector<uint8_t> luma;

  // Every frame of a title of the disc open in this session (the title is read through);
  // room is made for expectedFrames (the title's count, 0 when not known) at once.
  static OSStatus Read(UInt16 title, StillSignatures* out, uint32_t expectedFrames = 0);
  uint8_t const* Frame(uint32_t frame) const { return luma.data() + size_t(frame) * size_t(width * height); }
};

// Reads a title's signatures on a thread of its own. The read takes the disc open in the
// session when it starts and has a reader of its own, so that the session can go on to open
// another disc and read its title side by side: two titles lined up in the time of one.
class StillSignatureRead {
 public:
  StillSignatureRead() = default;
  ~StillSignatureRead() { Finish(); }
  StillSignatureRead(StillSignatureRead const&) = delete;
  StillSignatureRead& operator=(StillSignatureRead const&) = delete;

  // Returns once the read has its disc (or has ended); out is written until Finish.
  void Start(UInt16 title, uint32_t expectedFrames, StillSignatures* out);
  // Waits for the read to end: its status (noErr, or kDVDErrorInvalidArgument when none was started).
  OSStatus Finish();

 private:
  std::thread mThread;
  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mStarted = false;
  OSStatus mStatus = kDVDErrorInvalidArgument;
};

// From firstFrame of a on (up to the next piece's), frame n of a matches n + offset of b.
struct StillAlignPiece {
  uint32_t firstFrame = 0;
  int offset = 0;
};

class StillAlign {
 public:
  // False when the titles have too few pictures with anything in them to line up.
  bool Construct(StillSignatures const& a, StillSignatures const& b);

  // Frame n of a matches frame n + Offset() of b.
  int Offset() const { return mOffset; }
  // How surely: 0 (another offset fits as well) to 1 (nothing else comes near).
  double Confidence() const { return mConfidence; }
  // How alike the matched pictures are, on average: a correlation, -1 to 1.
  double Match() const { return mMatch; }
  // Where the offset changes along the title (a shot added or cut in one of them): the
  // pieces in order, the first from frame 0; one piece when it does not change.
  std::vector<StillAlignPiece> const& Pieces() const { return mPieces; }
  // What the normalised signatures of both titles take, in bytes.
  size_t FeatureBytes() const { return mA.capacity() + mB.capacity(); }
  // The frame of b matching frame of a, by its piece; false when b has none there.
  bool Map(uint32_t frame, uint32_t bFrames, uint32_t* bFrame) const {
    return MapByPieces(mPieces, mOffset, frame, bFrames, bFrame);
  }
  // The same from pieces alone (as another process printed them): offset where there are
  // none, or before the first.
  // (Inline: the window maps frames without reading any.)
  static bool MapByPieces(std::vector<StillAlignPiece> const& pieces, int offset, uint32_t frame,
                          uint32_t bFrames, uint32_t* bFrame) {
    for (StillAlignPiece const& piece : pieces) {
      if (piece.firstFrame <= frame) offset = piece.offset;
    }
    int64_t const mapped = int64_t(frame) + offset;
    if (mapped < 0 || mapped >= int64_t(bFrames)) return false;
    *bFrame = uint32_t(mapped);
    return true;
  }

 private:
  // The centre of each frame, mean and contrast taken out; flat frames are all zero.
  static void Normalise(StillSignatures const& s, std::vector<int8_t>* out, int* size);
  // How much each frame differs from the one before, mean and contrast of the title taken out.
  static std::vector<float> Cuts(std::vector<int8_t> const& features, int size, uint32_t frames);
  // The mean correlation of the pictures overlapping at offset (-2 when none overlap).
  double Score(int offset) const;
  // How alike frame of a and frame + offset of b are (0 when a's is flat, -1 when b has none).
  double FrameScore(uint32_t frame, int offset) const;
  // The pieces: each frame of a given one of the candidate offsets, a change of offset
  // costing as much as a run of well-matched frames.
  void FindPieces(std::vector<int> const& candidates);

  std::vector<int8_t> mA;
  std::vector<int8_t> mB;
  int mSize = 0;  // values a frame
  uint32_t mAFrames = 0;
  uint32_t mBFrames = 0;
  int mOffset = 0;
  double mConfidence = 0;
  double mMatch = 0;
  std::vector<StillAlignPiece> mPieces;
};
