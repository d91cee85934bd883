#include "DVDFieldMatch.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

#if TAVELO_X86_VECTOR
#include <emmintrin.h>
#endif

namespace dvd {
namespace {

// libavfilter fieldmatch's defaults (cthresh, combpel): a pixel is combed when it stands
// out from both neighbouring rows, the other field's, on the same side by more than this...
constexpr int kCombThreshold = 9;
// ...and a weave is combed when a 16x16 block holds more such pixels than this.
constexpr int kCombedPixels = 80;
// Counted in 8x8 cells; a block is 2x2 cells at every cell, so that a combed patch across a
// block's edge is not split between two blocks.
constexpr int kCell = 8;

struct Combing {
  long total = 0;  // combed pixels in the picture
  int worst = 0;   // most in one block
};

bool AtHand(DVDPlanes const& p) { return p.data[0] && p.data[1] && p.data[2]; }

// The picture giving the second field; null for kNone or a neighbour not at hand.
DVDPlanes const* OtherOf(DVDFieldSource const& s, DVDFieldMatchKind kind) {
  DVDPlanes const* other = nullptr;
  switch (kind) {
    case DVDFieldMatchKind::kCurrent: other = &s.picture; break;
    case DVDFieldMatchKind::kPrevious: other = &s.before; break;
    case DVDFieldMatchKind::kNext: other = &s.after; break;
    case DVDFieldMatchKind::kNone: break;
  }
  return other && AtHand(*other) ? other : nullptr;
}

// Row y of a plane of the weave: rows of the first field's parity (keep) from the picture,
// the others from other. 4:2:0 chroma is interlaced the same way, row by row.
inline UInt8 const* WovenRow(DVDPlanes const& picture, DVDPlanes const& other, int keep,
                             int plane, int y) {
  DVDPlanes const& from = (y & 1) == keep ? picture : other;
  return from.data[plane] + std::ptrdiff_t(y) * from.linesize[plane];
}

// 1 where row c's pixel stands out from rows u and d (the other field) on the same side,
// and the [1 -3 4 -3 1] filter across both fields agrees (a thin line drawn in one field
// alone is not combing); pixels from..width. True when any is.
bool MarkCombed(UInt8 const* u2, UInt8 const* u, UInt8 const* c, UInt8 const* d,
                UInt8 const* d2, int from, int width, UInt8* mask) {
  int const t = kCombThreshold;
  bool any = false;
  for (int x = from; x < width; ++x) {
    int const v = c[x];
    int const a = v - u[x];
    int const b = v - d[x];
    bool const combed = ((a > t && b > t) || (a < -t && b < -t)) &&
                        std::abs(4 * v - 3 * (u[x] + d[x]) + u2[x] + d2[x]) > 6 * t;
    mask[x] = UInt8(combed);
    any = any || combed;
  }
  return any;
}

// Three rows' masks all set, summed into the row's cells from cell `from` on.
void CountCombed(UInt8 const* above, UInt8 const* at, UInt8 const* below, int from, int width,
                 int* cells, long* total) {
  for (int cx = from; cx * kCell < width; ++cx) {
    int const end = std::min(width, (cx + 1) * kCell);
    int sum = 0;
    for (int x = cx * kCell; x < end; ++x) sum += above[x] & at[x] & below[x];
    cells[cx] += sum;
    *total += sum;
  }
}

#if TAVELO_X86_VECTOR
// The same 16 pixels at a time; answers how many pixels it did. Most rows comb nowhere:
// the same-side test alone, in bytes, settles them.
int MarkCombedSSE2(UInt8 const* u2, UInt8 const* u, UInt8 const* c, UInt8 const* d,
                   UInt8 const* d2, int width, UInt8* mask, bool* any) {
  auto const load = [](UInt8 const* p) {
    return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
  };
  __m128i const zero = _mm_setzero_si128();
  __m128i const threshold = _mm_set1_epi8(char(kCombThreshold));
  __m128i const threshold6 = _mm_set1_epi16(6 * kCombThreshold);
  __m128i const one = _mm_set1_epi8(1);
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i const cv = load(c + x);
    __m128i const uv = load(u + x);
    __m128i const dv = load(d + x);
    // By how much c stands above both, or below both; over the threshold: same side.
    __m128i const above = _mm_min_epu8(_mm_subs_epu8(cv, uv), _mm_subs_epu8(cv, dv));
    __m128i const below = _mm_min_epu8(_mm_subs_epu8(uv, cv), _mm_subs_epu8(dv, cv));
    __m128i const over = _mm_subs_epu8(_mm_max_epu8(above, below), threshold);
    __m128i const side = _mm_xor_si128(_mm_cmpeq_epi8(over, zero), _mm_set1_epi8(-1));
    if (_mm_movemask_epi8(side) == 0) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(mask + x), zero);
      continue;
    }
    __m128i const u2v = load(u2 + x);
    __m128i const d2v = load(d2 + x);
    auto const filtered = [&](auto unpack) {
      __m128i const c4 = _mm_slli_epi16(unpack(cv, zero), 2);
      __m128i const ud = _mm_add_epi16(unpack(uv, zero), unpack(dv, zero));
      __m128i const ud2 = _mm_add_epi16(unpack(u2v, zero), unpack(d2v, zero));
      __m128i const f = _mm_sub_epi16(_mm_add_epi16(c4, ud2),
                                      _mm_add_epi16(ud, _mm_add_epi16(ud, ud)));
      __m128i const magnitude = _mm_max_epi16(f, _mm_sub_epi16(zero, f));
      return _mm_cmpgt_epi16(magnitude, threshold6);
    };
    __m128i const lo = filtered([](__m128i a, __m128i b) { return _mm_unpacklo_epi8(a, b); });
    __m128i const hi = filtered([](__m128i a, __m128i b) { return _mm_unpackhi_epi8(a, b); });
    __m128i const combed = _mm_and_si128(side, _mm_packs_epi16(lo, hi));
    *any = *any || _mm_movemask_epi8(combed) != 0;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(mask + x), _mm_and_si128(combed, one));
  }
  return x;
}

// 16 pixels at a time: each half is one cell. Answers how many cells it did.
int CountCombedSSE2(UInt8 const* above, UInt8 const* at, UInt8 const* below, int width,
                    int* cells, long* total) {
  static_assert(kCell == 8, "a cell is one half of a 16-byte sum");
  auto const load = [](UInt8 const* p) {
    return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
  };
  int x = 0;
  for (; x + 16 <= width; x += 16) {
    __m128i const all = _mm_and_si128(_mm_and_si128(load(above + x), load(at + x)),
                                      load(below + x));
    __m128i const sums = _mm_sad_epu8(all, _mm_setzero_si128());
    int const first = _mm_cvtsi128_si32(sums);
    int const second = _mm_extract_epi16(sums, 4);
    cells[x / kCell] += first;
    cells[x / kCell + 1] += second;
    *total += first + second;
  }
  return x / kCell;
}
#endif

// How combed the luma of the weave with other is. A pixel counts only when the pixels
// above and below it are combed too, as fieldmatch counts: noise rarely lines up so.
Combing CombingOf(DVDFieldSource const& s, DVDPlanes const& other, int keep,
                  std::vector<UInt8>& masks, std::vector<int>& cells) {
  int const w = s.width;
  int const h = s.height;
  int const cw = (w + kCell - 1) / kCell;
  int const ch = (h + kCell - 1) / kCell;
  cells.assign(size_t(cw) * size_t(ch), 0);
  masks.resize(size_t(w) * 3);
  auto const row = [&](int y) { return WovenRow(s.picture, other, keep, 0, y); };
  auto const mask = [&](int y) { return &masks[size_t(y % 3) * size_t(w)]; };
  bool any[3] = {};
  Combing combing;
  // Rows 2..h-3 have the two rows each side the filter needs.
  for (int y = 2; y + 2 < h; ++y) {
    UInt8 const* const u2 = row(y - 2);
    UInt8 const* const u = row(y - 1);
    UInt8 const* const c = row(y);
    UInt8 const* const d = row(y + 1);
    UInt8 const* const d2 = row(y + 2);
    bool combed = false;
    int done = 0;
#if TAVELO_X86_VECTOR
    done = MarkCombedSSE2(u2, u, c, d, d2, w, mask(y), &combed);
#endif
    combed = MarkCombed(u2, u, c, d, d2, done, w, mask(y)) || combed;
    any[y % 3] = combed;
    if (y < 4 || !any[0] || !any[1] || !any[2]) continue;
    int const m = y - 1;
    int* const cellRow = &cells[size_t(m / kCell) * size_t(cw)];
    int cellsDone = 0;
#if TAVELO_X86_VECTOR
    cellsDone = CountCombedSSE2(mask(m - 1), mask(m), mask(y), w, cellRow, &combing.total);
#endif
    CountCombed(mask(m - 1), mask(m), mask(y), cellsDone, w, cellRow, &combing.total);
  }
  if (combing.total == 0) return combing;
  for (int cy = 0; cy < ch; ++cy) {
    int const* const r0 = &cells[size_t(cy) * size_t(cw)];
    int const* const r1 = cy + 1 < ch ? r0 + cw : nullptr;
    for (int cx = 0; cx < cw; ++cx) {
      int block = r0[cx] + (cx + 1 < cw ? r0[cx + 1] : 0);
      if (r1) block += r1[cx] + (cx + 1 < cw ? r1[cx + 1] : 0);
      combing.worst = std::max(combing.worst, block);
    }
  }
  return combing;
}

bool Valid(DVDFieldSource const& s) {
  return AtHand(s.picture) && s.width > 0 && s.height > 0 && s.width % 2 == 0 &&
         s.height % 2 == 0;
}

}  // namespace

DVDFieldMatchKind DVDMatchFields(DVDFieldSource const& s) {
  if (!Valid(s)) return DVDFieldMatchKind::kNone;
  int const keep = s.topFieldFirst ? 0 : 1;
  std::vector<UInt8> masks;
  std::vector<int> cells;
  DVDFieldMatchKind best = DVDFieldMatchKind::kCurrent;
  Combing least = CombingOf(s, s.picture, keep, masks, cells);
  // Nothing combed at all: no weave can do better.
  if (least.total > 0) {
    for (DVDFieldMatchKind kind : {DVDFieldMatchKind::kPrevious, DVDFieldMatchKind::kNext}) {
      DVDPlanes const* const other = OtherOf(s, kind);
      if (!other) continue;
      Combing const c = CombingOf(s, *other, keep, masks, cells);
      // Strictly fewer: on a tie the picture's own field (then the earlier) stays.
      if (c.total < least.total) {
        best = kind;
        least = c;
      }
    }
  }
  return least.worst > kCombedPixels ? DVDFieldMatchKind::kNone : best;
}

bool DVDWeaveFields(DVDFieldSource const& s, DVDFieldMatchKind kind, UInt8* const outData[3],
                    int const outLinesize[3]) {
  DVDPlanes const* const other = OtherOf(s, kind);
  if (!Valid(s) || !other || !outData[0] || !outData[1] || !outData[2]) return false;
  int const keep = s.topFieldFirst ? 0 : 1;
  for (int plane = 0; plane < 3; ++plane) {
    int const w = plane ? s.width / 2 : s.width;
    int const h = plane ? s.height / 2 : s.height;
    for (int y = 0; y < h; ++y) {
      std::memcpy(outData[plane] + std::ptrdiff_t(y) * outLinesize[plane],
                  WovenRow(s.picture, *other, keep, plane, y), size_t(w));
    }
  }
  return true;
}

}  // namespace dvd
