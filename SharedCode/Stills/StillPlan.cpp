#include "StillPlan.h"

#include <algorithm>
#include <cctype>

namespace {

// Digits only, into value; false when empty, not digits or too long to mean anything.
bool Digits(std::string const& text, uint64_t* value) {
  if (text.empty() || text.size() > 12) return false;
  uint64_t v = 0;
  for (char c : text) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
    v = v * 10 + uint64_t(c - '0');
  }
  *value = v;
  return true;
}

// "12" or "12.345678": microseconds, the fraction cut after six places.
bool DecimalMicroseconds(std::string const& text, uint64_t* us) {
  size_t const dot = text.find('.');
  uint64_t whole = 0;
  if (!Digits(text.substr(0, dot), &whole)) return false;
  uint64_t fraction = 0;
  if (dot != std::string::npos) {
    std::string digits = text.substr(dot + 1);
    if (digits.empty()) return false;
    if (digits.size() > 6) {
      for (size_t i = 6; i < digits.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(digits[i]))) return false;
      }
      digits.resize(6);
    }
    if (!Digits(digits, &fraction)) return false;
    for (size_t i = digits.size(); i < 6; ++i) fraction *= 10;
  }
  *us = whole * 1000000 + fraction;
  return true;
}

}  // namespace

uint32_t StillPlan::FrameAt(uint64_t us, bool pal) {
  uint64_t const frame = pal ? us * 25 / 1000000 : us * 30000 / (1001ull * 1000000);
  return frame > 0xFFFFFFFEull ? 0xFFFFFFFEu : uint32_t(frame);
}

uint64_t StillPlan::FrameMs(uint32_t frame, bool pal) {
  return pal ? uint64_t(frame) * 40 : uint64_t(frame) * 1001 / 30;
}

int StillPlan::ChapterOf(uint32_t frame, std::vector<uint32_t> const& chapterFirstFrames) {
  int chapter = 1;
  for (size_t i = 1; i < chapterFirstFrames.size(); ++i) {
    if (frame >= chapterFirstFrames[i]) chapter = int(i) + 1;
  }
  return chapter;
}

bool StillPlan::ParseSeconds(std::string const& text, uint64_t* us) {
  return DecimalMicroseconds(text, us) && *us > 0;
}

bool StillPlan::ParseTime(std::string const& text, bool pal, uint32_t* frame) {
  if (text.size() > 1 && (text[0] == 'f' || text[0] == 'F')) {
    uint64_t f = 0;
    if (!Digits(text.substr(1), &f) || f > 0xFFFFFFFEull) return false;
    *frame = uint32_t(f);
    return true;
  }
  // m:ss or h:mm:ss, the last part may carry a fraction.
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t colon; (colon = text.find(':', start)) != std::string::npos; start = colon + 1) {
    parts.push_back(text.substr(start, colon - start));
  }
  parts.push_back(text.substr(start));
  if (parts.size() > 3) return false;
  uint64_t us = 0;
  if (!DecimalMicroseconds(parts.back(), &us)) return false;
  if (parts.size() > 1) {
    // Seconds after a colon: two digits, below 60.
    size_t const dot = parts.back().find('.');
    if ((dot == std::string::npos ? parts.back().size() : dot) != 2 || us >= 60000000) return false;
  }
  uint64_t minutes = 0;
  if (parts.size() >= 2) {
    if (!Digits(parts[parts.size() - 2], &minutes)) return false;
    if (parts.size() == 3 && (minutes >= 60 || parts[1].size() != 2)) return false;
  }
  uint64_t hours = 0;
  if (parts.size() == 3 && !Digits(parts[0], &hours)) return false;
  *frame = FrameAt(((hours * 60 + minutes) * 60) * 1000000 + us, pal);
  return true;
}

bool StillPlan::ParseTimes(std::string const& list, bool pal, std::vector<uint32_t>* frames,
                           std::string* bad) {
  frames->clear();
  size_t start = 0;
  for (;;) {
    size_t const comma = list.find(',', start);
    std::string const item = list.substr(start, comma == std::string::npos ? comma : comma - start);
    uint32_t frame = 0;
    if (!ParseTime(item, pal, &frame)) {
      if (bad) *bad = item;
      return false;
    }
    frames->push_back(frame);
    if (comma == std::string::npos) return true;
    start = comma + 1;
  }
}

bool StillPlan::Construct(StillTitle const& title, Kind kind, std::vector<uint32_t> const& at,
                          uint64_t everyUs, int count) {
  mEntries.clear();
  mOutside.clear();
  if (title.frames == 0) return false;
  std::vector<uint32_t> frames;
  switch (kind) {
    case kAt:
      frames = at;
      break;
    case kEvery:
      if (everyUs == 0) return false;
      for (uint64_t k = 0;; ++k) {
        uint32_t const frame = FrameAt(k * everyUs, title.pal);
        if (frame >= title.frames) break;
        frames.push_back(frame);
      }
      break;
    case kChapters:
      frames = title.chapterFirstFrames;
      if (frames.empty()) frames.push_back(0);
      break;
    case kCount:
      if (count < 1) return false;
      // round((i + 0.5) x frames / count), halves up.
      for (uint64_t i = 0; i < uint64_t(count); ++i) {
        uint64_t const frame = ((2 * i + 1) * title.frames + uint64_t(count)) / (2 * uint64_t(count));
        frames.push_back(uint32_t(std::min<uint64_t>(frame, title.frames - 1)));
      }
      break;
  }
  for (size_t i = 0; i < frames.size(); ++i) {
    StillPlanEntry const entry{frames[i], int(i) + 1,
                               ChapterOf(frames[i], title.chapterFirstFrames)};
    (frames[i] < title.frames ? mEntries : mOutside).push_back(entry);
  }
  std::stable_sort(mEntries.begin(), mEntries.end(),
                   [](StillPlanEntry const& a, StillPlanEntry const& b) { return a.frame < b.frame; });
  return !mEntries.empty() || !mOutside.empty();
}
