#include "CorePString.h"

#include "CoreMachDebugLog.h"

#include <algorithm>
#include <cstring>

namespace {

// An 8-bit length whose sum wraps like the length byte it is stored in.
struct PLength {
  unsigned char value;
  explicit operator bool() const { return value != 0; }
};
PLength operator+(PLength a, PLength b) { return PLength{static_cast<unsigned char>(a.value + b.value)}; }

}  // namespace

CorePString::CorePString() { std::memset(mPString, 0, sizeof mPString); }

CorePString::CorePString(char const* text) : CorePString() { *this = text; }

CorePString::CorePString(unsigned char const* pascal) : CorePString() { *this = pascal; }

CorePString::CorePString(CorePString const& other) : CorePString() { *this = other; }

void CorePString::Terminate() {
  if (mPString[0] < 255) mPString[mPString[0] + 1] = 0;
}

CorePString& CorePString::operator=(char const* text) {
  std::size_t const count = text ? std::min<std::size_t>(std::strlen(text), 255) : 0;
  std::memmove(mPString + 1, text ? text : "", count);
  mPString[0] = static_cast<unsigned char>(count);
  Terminate();
  return *this;
}

CorePString& CorePString::operator=(unsigned char const* pascal) {
  if (!pascal) {
    mPString[0] = 0;
    Terminate();
    return *this;
  }
  unsigned char const length = pascal[0];
  std::memmove(mPString + 1, pascal + 1, length);
  mPString[0] = length;
  Terminate();
  return *this;
}

CorePString& CorePString::operator=(CorePString const& other) {
  if (this != &other) *this = other.mPString;
  return *this;
}

void CorePString::strcat(unsigned char const* pascal) {
  if (!pascal) return;
  PLength const pstring_len{mPString[0]};
  PLength const rhs_len{pascal[0]};
  // Only a sum of exactly 256 wraps to zero; an empty plus an empty is no overflow.
  if (pstring_len.value != 0 || rhs_len.value != 0) CoreMachDebugVerify(pstring_len+rhs_len);
  // The bytes beyond the 256-byte record are not written: a wrapped sum keeps what fits.
  std::size_t const room = 255 - std::size_t(pstring_len.value);
  std::memmove(mPString + 1 + pstring_len.value, pascal + 1, std::min<std::size_t>(rhs_len.value, room));
  std::size_t const end = 1 + std::size_t(pstring_len.value) + rhs_len.value;
  if (end < sizeof mPString) mPString[end] = 0;
  mPString[0] = (pstring_len+rhs_len).value;
}

void CorePString::strcatc(char c) {
  if (mPString[0] > 254) return;
  mPString[mPString[0] + 1] = static_cast<unsigned char>(c);
  ++mPString[0];
  Terminate();
}

void CorePString::strcpy(unsigned char* out, unsigned short max) const {
  if (!out || max == 0) return;
  std::size_t const count = std::min<std::size_t>(mPString[0], max - 1u);
  out[0] = static_cast<unsigned char>(count);
  std::memmove(out + 1, mPString + 1, count);
}

void CorePString::AssignTo(unsigned char* out, unsigned short max) const { strcpy(out, max); }

void CorePString::AssignTo(char* out) const {
  if (!out) return;
  std::memmove(out, mPString + 1, mPString[0]);
  out[mPString[0]] = 0;
}

bool CorePString::operator==(char const* text) const {
  if (!text) return false;
  return std::strlen(text) == mPString[0] && std::memcmp(text, mPString + 1, mPString[0]) == 0;
}

bool CorePString::operator==(unsigned char const* pascal) const {
  if (!pascal) return false;
  return pascal[0] == mPString[0] && std::memcmp(pascal + 1, mPString + 1, mPString[0]) == 0;
}
