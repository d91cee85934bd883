#include "StillAlign.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "CoreMachDebugLog.h"

namespace {

// The border left out of each signature: letterbox bands, crop and burnt-in bands change
// there, the picture's content does not.
constexpr int kBorderRows = 3;
constexpr int kBorderColumns = 2;
// Below this spread of levels a picture is flat: it says nothing of where it is.
constexpr float kFlatSpread = 1.5f;
// Normalised levels are kept in a byte each, in steps of 1/32 of the picture's spread: a
// long title's signatures stay small, and the sums are whole numbers.
constexpr float kUnit = 32.0f;
// Candidates from the scene cuts looked at on the whole pictures.
constexpr size_t kCandidates = 12;
// What a change of offset along the title costs: the summed match of this many well-matched
// frames, so that only a run of frames that fits another offset clearly makes a piece.
constexpr double kPieceCost = 12.0;
// And a piece must match clearly better than the title's offset, frame for frame: in smooth,
// slow pictures other offsets fit nearly as well, and the small gains add up.
constexpr double kPieceGain = 0.25;

// What a read fills, and whom to tell when its first frame comes.
struct Collecting {
  StillSignatures* out = nullptr;
  std::function<void()> first;
};

void Collect(uint32_t frame, UInt8 const* luma, void* refCon) {
  auto* const c = static_cast<Collecting*>(refCon);
  StillSignatures* const s = c->out;
  if (c->first) {
    c->first();
    c->first = nullptr;
  }
  size_t const size = size_t(s->width * s->height);
  // Frames come in order, each once; one missing is filled with its predecessor.
  if (frame < s->frames) return;
  while (s->frames < frame && s->frames > 0) {
    size_t const last = s->luma.size() - size;
    s->luma.resize(s->luma.size() + size);
    std::copy_n(s->luma.begin() + std::ptrdiff_t(last), size, s->luma.begin() + std::ptrdiff_t(last + size));
    ++s->frames;
  }
  s->luma.insert(s->luma.end(), luma, luma + size);
  s->frames = frame + 1;
}

OSStatus ReadSignatures(UInt16 title, StillSignatures* out, uint32_t expectedFrames,
                        std::function<void()> first) {
  *out = StillSignatures{};
  out->width = kDVDSignatureWidth;
  out->height = kDVDSignatureHeight;
  // A title's signatures are tens of megabytes: no doubling on the way.
  out->luma.reserve(size_t(expectedFrames) * size_t(out->width * out->height));
  Collecting collecting{out, std::move(first)};
  OSStatus const status = CoreVerifyOSerr(DVDReadFrameSignatures(title, Collect, &collecting));
  out->luma.shrink_to_fit();
  return status;
}

}  // namespace

OSStatus StillSignatures::Read(UInt16 title, StillSignatures* out, uint32_t expectedFrames) {
  return ReadSignatures(title, out, expectedFrames, nullptr);
}

void StillSignatureRead::Start(UInt16 title, uint32_t expectedFrames, StillSignatures* out) {
  Finish();
  mStarted = false;
  auto const started = [this] {
    std::lock_guard<std::mutex> lock(mMutex);
    mStarted = true;
    mChanged.notify_all();
  };
  mThread = std::thread([this, title, expectedFrames, out, started] {
    OSStatus const status = ReadSignatures(title, out, expectedFrames, started);
    std::lock_guard<std::mutex> lock(mMutex);
    mStatus = status;
    mStarted = true;
    mChanged.notify_all();
  });
  std::unique_lock<std::mutex> lock(mMutex);
  mChanged.wait(lock, [this] { return mStarted; });
}

OSStatus StillSignatureRead::Finish() {
  if (!mThread.joinable()) return mStatus;
  mThread.join();
  std::lock_guard<std::mutex> lock(mMutex);
  return mStatus;
}

void StillAlign::Normalise(StillSignatures const& s, std::vector<int8_t>* out, int* size) {
  int const rows = s.height - 2 * kBorderRows;
  int const columns = s.width - 2 * kBorderColumns;
  *size = std::max(0, rows * columns);
  out->assign(size_t(*size) * s.frames, 0);
  std::vector<float> v;
  v.resize(static_cast<size_t>(*size));
  for (uint32_t f = 0; f < s.frames; ++f) {
    uint8_t const* const luma = s.Frame(f);
    int8_t* const o = out->data() + size_t(f) * size_t(*size);
    int i = 0;
    for (int y = kBorderRows; y < kBorderRows + rows; ++y) {
      for (int x = kBorderColumns; x < kBorderColumns + columns; ++x) v[size_t(i++)] = luma[y * s.width + x];
    }
    double sum = 0;
    for (float x : v) sum += x;
    float const mean = float(sum / *size);
    double squares = 0;
    for (float x : v) squares += double(x - mean) * (x - mean);
    float const spread = float(std::sqrt(squares / *size));
    if (spread < kFlatSpread) continue;
    for (size_t k = 0; k < v.size(); ++k) {
      o[k] = int8_t(std::clamp(std::lround((v[k] - mean) / spread * kUnit), -127L, 127L));
    }
  }
}

std::vector<float> StillAlign::Cuts(std::vector<int8_t> const& features, int size,
                                    uint32_t frames) {
  std::vector<float> cuts(frames, 0.0f);
  for (uint32_t f = 1; f < frames; ++f) {
    int8_t const* const p = features.data() + size_t(f - 1) * size_t(size);
    int8_t const* const q = p + size;
    int32_t d = 0;
    for (int k = 0; k < size; ++k) d += (q[k] - p[k]) * (q[k] - p[k]);
    cuts[f] = float(std::sqrt(double(d) / size) / kUnit);
  }
  return cuts;
}

double StillAlign::Score(int offset) const {
  int64_t const first = std::max<int64_t>(0, -int64_t(offset));
  int64_t const end = std::min<int64_t>(mAFrames, int64_t(mBFrames) - offset);
  double sum = 0;
  int64_t counted = 0;
  for (int64_t f = first; f < end; ++f) {
    int8_t const* const a = mA.data() + size_t(f) * size_t(mSize);
    int8_t const* const b = mB.data() + size_t(f + offset) * size_t(mSize);
    int32_t dot = 0;
    bool flat = true;
    for (int k = 0; k < mSize; ++k) {
      dot += a[k] * b[k];
      flat = flat && a[k] == 0;
    }
    // Flat in a: nothing to match; flat in b only: a mismatch.
    if (flat) continue;
    sum += double(dot) / (double(mSize) * kUnit * kUnit);
    ++counted;
  }
  return counted > 0 ? sum / double(counted) : -2.0;
}

bool StillAlign::Construct(StillSignatures const& a, StillSignatures const& b) {
  if (!CoreVerify(a.width == b.width && a.height == b.height && a.frames > 1 && b.frames > 1)) {
    return false;
  }
  Normalise(a, &mA, &mSize);
  Normalise(b, &mB, &mSize);
  mAFrames = a.frames;
  mBFrames = b.frames;
  if (!CoreVerify(mSize > 0)) return false;

  // The scene cuts of each, correlated at every offset leaving enough overlap.
  std::vector<float> const cutsA = Cuts(mA, mSize, mAFrames);
  std::vector<float> const cutsB = Cuts(mB, mSize, mBFrames);
  int64_t const overlap = std::max<int64_t>(2, std::min(mAFrames, mBFrames) / 3);
  // Pearson's correlation of the two cut series where they overlap at offset.
  auto const cutScore = [&](int64_t offset) {
    int64_t const first = std::max<int64_t>(1, -offset);
    int64_t const end = std::min<int64_t>(mAFrames, int64_t(mBFrames) - offset);
    if (end - first < 2) return -1.0;
    double sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
    for (int64_t f = first; f < end; ++f) {
      double const x = cutsA[size_t(f)];
      double const y = cutsB[size_t(f + offset)];
      sa += x;
      sb += y;
      saa += x * x;
      sbb += y * y;
      sab += x * y;
    }
    double const n = double(end - first);
    double const va = saa - sa * sa / n;
    double const vb = sbb - sb * sb / n;
    return va > 0 && vb > 0 ? (sab - sa * sb / n) / std::sqrt(va * vb) : 0.0;
  };
  std::vector<std::pair<double, int>> ranked;
  for (int64_t offset = overlap - int64_t(mAFrames); offset <= int64_t(mBFrames) - overlap; ++offset) {
    ranked.emplace_back(cutScore(offset), int(offset));
  }
  if (!CoreVerify(!ranked.empty())) return false;
  size_t const keep = std::min(kCandidates, ranked.size());
  std::partial_sort(ranked.begin(), ranked.begin() + std::ptrdiff_t(keep), ranked.end(),
                    [](auto const& x, auto const& y) { return x.first > y.first; });

  // The candidates and their neighbours, judged on the cuts and the whole pictures together:
  // slow pictures match their neighbours nearly as well, the cuts fall on one frame only.
  struct Candidate {
    int offset;
    double cuts;
    double pictures;
  };
  std::vector<Candidate> scored;
  for (size_t i = 0; i < keep; ++i) {
    for (int d = -1; d <= 1; ++d) {
      int const offset = ranked[i].second + d;
      bool seen = false;
      for (Candidate const& c : scored) seen = seen || c.offset == offset;
      if (!seen) scored.push_back({offset, cutScore(offset), Score(offset)});
    }
  }
  std::sort(scored.begin(), scored.end(), [](Candidate const& x, Candidate const& y) {
    return x.cuts + x.pictures > y.cuts + y.pictures;
  });
  mOffset = scored[0].offset;
  mMatch = scored[0].pictures;
  if (!CoreVerify(mMatch > 0.0 && scored[0].cuts > 0.0)) return false;
  // How far the best other offset's cuts fall below the chosen one's, against a perfect match.
  double second = 0.0;
  for (size_t i = 1; i < scored.size(); ++i) second = std::max(second, scored[i].cuts);
  mConfidence = std::clamp((scored[0].cuts - second) / std::max(1e-6, 1.0 - second), 0.0, 1.0);

  // The pieces choose among the best offset and the other candidates of the cuts, one of
  // each cluster (a candidate's neighbours fit slow pictures nearly as well).
  std::vector<int> candidates{mOffset};
  for (size_t i = 0; i < keep; ++i) {
    bool near = false;
    for (int c : candidates) near = near || std::abs(c - ranked[i].second) <= 2;
    if (!near && ranked[i].first > 0.0) candidates.push_back(ranked[i].second);
  }
  FindPieces(candidates);
  return true;
}

double StillAlign::FrameScore(uint32_t frame, int offset) const {
  int64_t const other = int64_t(frame) + offset;
  if (other < 0 || other >= int64_t(mBFrames)) return -1.0;
  int8_t const* const a = mA.data() + size_t(frame) * size_t(mSize);
  int8_t const* const b = mB.data() + size_t(other) * size_t(mSize);
  int32_t dot = 0;
  bool flat = true;
  for (int k = 0; k < mSize; ++k) {
    dot += a[k] * b[k];
    flat = flat && a[k] == 0;
  }
  return flat ? 0.0 : double(dot) / (double(mSize) * kUnit * kUnit);
}

void StillAlign::FindPieces(std::vector<int> const& candidates) {
  // The best path through the candidates, frame by frame (Viterbi), then read back.
  size_t const count = candidates.size();
  std::vector<double> total(count, 0.0);
  std::vector<uint8_t> from(size_t(mAFrames) * count, 0);
  for (uint32_t f = 0; f < mAFrames; ++f) {
    size_t best = 0;
    for (size_t c = 1; c < count; ++c) {
      if (total[c] > total[best]) best = c;
    }
    std::vector<double> next(count);
    for (size_t c = 0; c < count; ++c) {
      bool const stay = total[c] >= total[best] - kPieceCost;
      size_t const previous = stay ? c : best;
      from[size_t(f) * count + c] = uint8_t(previous);
      next[c] = (stay ? total[c] : total[best] - kPieceCost) + FrameScore(f, candidates[c]);
    }
    total = next;
  }
  size_t c = size_t(std::max_element(total.begin(), total.end()) - total.begin());
  std::vector<size_t> path(mAFrames);
  for (uint32_t f = mAFrames; f-- > 0;) {
    path[f] = c;
    c = from[size_t(f) * count + c];
  }
  std::vector<int> offsets(mAFrames);
  for (uint32_t f = 0; f < mAFrames; ++f) offsets[f] = candidates[path[f]];
  for (uint32_t f = 0; f < mAFrames;) {
    uint32_t end = f;
    while (end < mAFrames && offsets[end] == offsets[f]) ++end;
    if (offsets[f] != mOffset) {
      double gain = 0;
      for (uint32_t g = f; g < end; ++g) gain += FrameScore(g, offsets[f]) - FrameScore(g, mOffset);
      if (gain / double(end - f) < kPieceGain) std::fill(offsets.begin() + f, offsets.begin() + end, mOffset);
    }
    f = end;
  }
  mPieces.clear();
  for (uint32_t f = 0; f < mAFrames; ++f) {
    if (mPieces.empty() || mPieces.back().offset != offsets[f]) mPieces.push_back({f, offsets[f]});
  }
}
