#include "CoreCString.h"

#include "CoreMachDebugLog.h"
#include "CorePString.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

char sHexScratch[4];

[[noreturn]] void ThrowNil() { throw CoreException("Nil exception pointer"); }

std::string FromPascal(unsigned char const* pascal) {
  return pascal ? std::string(reinterpret_cast<char const*>(pascal + 1), pascal[0]) : std::string();
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

char const* HexDigitPairFromByte(unsigned char* byte, char separator) {
  static char const kDigits[] = "0123456789ABCDEF";
  unsigned char const b = byte ? *byte : 0;
  sHexScratch[0] = kDigits[b >> 4];
  sHexScratch[1] = kDigits[b & 15];
  sHexScratch[2] = 0;
  if (separator != 0) {
    sHexScratch[2] = static_cast<signed char>(separator) < 32 ? ' ' : separator;
    sHexScratch[3] = 0;
  }
  return sHexScratch;
}

// ---- CoreCString

CoreCString::CoreCString() : mBuffer(nullptr), mCapacity(0) { Alloc(nullptr, 0); }

CoreCString::CoreCString(char const* s, unsigned short size) : mBuffer(nullptr), mCapacity(0) {
  Alloc(s, size);
}

CoreCString::CoreCString(CoreCString const& s, unsigned short size) : mBuffer(nullptr), mCapacity(0) {
  Alloc(s.mBuffer, size);
}

CoreCString::CoreCString(CorePString const& s, unsigned short size) : mBuffer(nullptr), mCapacity(0) {
  Alloc(FromPascal(s.Get()).c_str(), size);
}

CoreCString::CoreCString(std::string const& s, unsigned short size) : mBuffer(nullptr), mCapacity(0) {
  Alloc(s.c_str(), size);
}

CoreCString::CoreCString(unsigned char const* pascal, unsigned short size)
    : mBuffer(nullptr), mCapacity(0) {
  Alloc(FromPascal(pascal).c_str(), size);
}

CoreCString::CoreCString(unsigned long code, unsigned short size) : mBuffer(nullptr), mCapacity(0) {
  Alloc(nullptr, size);
  ConstructFourCharCode(code);
}

CoreCString::~CoreCString() { Delete(); }

CoreCString& CoreCString::operator=(CoreCString const& s) {
  if (this != &s) Alloc(s.mBuffer, 0);
  return *this;
}

CoreCString& CoreCString::operator=(char const* s) {
  Alloc(s, 0);
  return *this;
}

char* CoreCString::Buffer() const {
  if (!mBuffer) ThrowNil();
  return mBuffer;
}

std::size_t CoreCString::Length() const { return std::strlen(Buffer()); }

void CoreCString::Alloc(char const* s, unsigned short size) {
  // A source inside our own buffer must survive the buffer being emptied or replaced.
  std::string keep;
  if (s && mBuffer && s >= mBuffer && s < mBuffer + std::max<std::size_t>(mCapacity, 1)) {
    keep = s;
    s = keep.c_str();
  }
  std::size_t const needed = s ? std::strlen(s) + 1 : 1;
  std::size_t const capacity = size > needed ? size : needed;
  if (mBuffer && capacity <= mCapacity) {
    safe_strcpy(s);
    return;
  }
  Delete();
  // The whole capacity is allocated; only its low 16 bits are kept, and every write is
  // bounded by what is kept.
  mBuffer = new char[capacity];
  mBuffer[0] = 0;
  mCapacity = static_cast<unsigned short>(capacity);
  safe_strcpy(s);
}

void CoreCString::Delete() {
  delete[] mBuffer;
  mBuffer = nullptr;
  mCapacity = 0;
}

void CoreCString::Empty() { Buffer()[0] = 0; }

void CoreCString::safe_strncpy(char const* s, unsigned short n) {
  std::string keep;
  if (s && mBuffer && s >= mBuffer && s < mBuffer + std::max<std::size_t>(mCapacity, 1)) {
    keep = s;
    s = keep.c_str();
  }
  Empty();
  if (!s || mCapacity == 0) return;
  std::size_t const count = std::min<std::size_t>(std::max<std::size_t>(std::strlen(s), n), mCapacity - 1u);
  // The count may reach past the source: the rest is zero padding.
  std::size_t const copied = std::min(count, std::strlen(s));
  std::memcpy(mBuffer, s, copied);
  std::memset(mBuffer + copied, 0, count - copied + 1);
}

void CoreCString::safe_strcpy(char const* s) {
  safe_strncpy(s, s ? static_cast<unsigned short>(std::strlen(s)) : 0);
}

void CoreCString::safe_strcat(char const* s) {
  char* const buffer = Buffer();
  if (!s) return;
  std::size_t const length = std::strlen(buffer);
  std::size_t const added = std::strlen(s);
  if (length + 1 + added + 1 == mCapacity) {
    buffer[mCapacity - 1] = 0;
    return;
  }
  // Callers promise room; what would not fit is cut off rather than written past the end.
  std::size_t const room = mCapacity > length + 1 ? mCapacity - 1 - length : 0;
  std::size_t const count = std::min(added, room);
  std::memmove(buffer + length, s, count);
  if (length + count < mCapacity) buffer[length + count] = 0;
}

void CoreCString::strcat(char const* s) {
  std::size_t const length = Length();
  std::size_t const added = s ? std::strlen(s) : 0;
  CoreCStringSized joined(static_cast<unsigned short>(length + 1 + added + 1));
  joined.safe_strcpy(mBuffer);
  joined.CoreCStringSized::strcat(s);
  Alloc(joined.mBuffer, 0);
}

CoreCString& CoreCString::operator+=(char const* s) {
  strcat(s);
  return *this;
}

CoreCString& CoreCString::operator+=(CoreCString const& s) {
  if (!s.mBuffer) ThrowNil();
  std::string const text = s.mBuffer;  // s may be this string
  strcat(text.c_str());
  return *this;
}

CoreCString& CoreCString::operator+=(unsigned char const* pascal) {
  strcat(pascal ? FromPascal(pascal).c_str() : nullptr);
  return *this;
}

void CoreCString::printf(char const* format, ...) {
  char scratch[2050];
  va_list args;
  va_start(args, format);
  int const n = std::vsnprintf(scratch, sizeof scratch, format ? format : "", args);
  va_end(args);
  if (n < 0 || n > 2048) ThrowNil();
  Alloc(scratch, 0);
}

void CoreCString::sprintf(char* buffer, unsigned long size, char const* format, ...) {
  if (!buffer) ThrowNil();
  va_list args;
  va_start(args, format);
  int const n = std::vsnprintf(buffer, size, format ? format : "", args);
  va_end(args);
  if (n < 0 || n > 3 || size == 0) ThrowNil();
  Alloc(buffer, 0);
}

double CoreCString::AsDouble() const {
  double value = 0.0;
  if (std::sscanf(Buffer(), "%lf", &value) != 1) value = 0.0;
  return value;
}

char* CoreCString::trim_trailing_whitespace() {
  char* const buffer = Buffer();
  for (std::size_t i = std::strlen(buffer); i > 0 && std::isspace(static_cast<unsigned char>(buffer[i - 1])); --i)
    buffer[i - 1] = 0;
  return buffer;
}

char* CoreCString::trim_leading_whitespace() {
  char* const buffer = Buffer();
  if (std::isspace(static_cast<unsigned char>(buffer[0]))) {
    char const* first = buffer;
    while (*first && std::isspace(static_cast<unsigned char>(*first))) ++first;
    if (*first) std::memmove(buffer, first, std::strlen(first) + 1);
  }
  return buffer;
}

char* CoreCString::trim_trailing_and_leading_whitespace() {
  trim_trailing_whitespace();
  return trim_leading_whitespace();
}

bool CoreCString::operator==(char const* s) const {
  char const* const buffer = Buffer();
  return s && std::strcmp(buffer, s) == 0;
}

bool CoreCString::operator==(unsigned char const* pascal) const {
  char const* const buffer = Buffer();
  if (!pascal) return false;
  return std::strlen(buffer) == pascal[0] && std::memcmp(buffer, pascal + 1, pascal[0]) == 0;
}

void CoreCString::AssignTo(char* out) const {
  char const* const buffer = Buffer();
  if (out) std::memmove(out, buffer, std::strlen(buffer) + 1);
}

void CoreCString::AssignTo(unsigned char* pascal, unsigned int max) const { AssignTo(pascal, max, Buffer()); }

void CoreCString::AssignTo(unsigned char* pascal, unsigned int max, char const* s) {
  if (!pascal) return;
  // A length byte holds at most 255.
  std::size_t const count = s ? std::min<std::size_t>({std::strlen(s), max, 255}) : 0;
  pascal[0] = static_cast<unsigned char>(count);
  if (count) std::memmove(pascal + 1, s, count);
}

char const* CoreCString::EncodeHexString(void const* data, unsigned int length, unsigned int maxBytes,
                                         char separator) {
  unsigned int const count = maxBytes != 0 && maxBytes <= length ? maxBytes : length;
  if (!data && count > 0) ThrowNil();
  Alloc(nullptr, static_cast<unsigned short>(count * 4 + 9));
  auto const* bytes = static_cast<unsigned char const*>(data);
  for (unsigned int i = 0; i < count; ++i) {
    unsigned char byte = bytes[i];
    safe_strcat(HexDigitPairFromByte(&byte, separator));
  }
  return mBuffer;
}

char const* CoreCString::AsHexString() {
  std::string const text = Buffer();
  if (text.empty()) return mBuffer;
  return EncodeHexString(text.data(), static_cast<unsigned int>(text.size()), 0, ' ');
}

char const* CoreCString::DecodeHexString(char const* text) {
  if (!text) ThrowNil();
  std::size_t digits = 0;
  for (char const* p = text; *p; ++p) digits += HexValue(*p) >= 0;
  std::string const source = text;  // the text may be our own buffer
  Alloc(nullptr, static_cast<unsigned short>(digits / 2 + 9));
  std::size_t const bytes = std::min<std::size_t>(digits / 2, mCapacity > 0 ? mCapacity - 1u : 0);
  std::size_t stored = 0;
  int high = -1;
  for (char const c : source) {
    if (stored == bytes) break;
    int const value = HexValue(c);
    if (value < 0) continue;
    if (high < 0) {
      high = value;
      continue;
    }
    mBuffer[stored] = static_cast<char>((high << 4) | value);
    mBuffer[++stored] = 0;
    high = -1;
  }
  return mBuffer;
}

bool CoreCString::ConstructFourCharCode(unsigned long code) {
  Delete();
  printf("0x%08lx '%c%c%c%c'", code, static_cast<int>((code >> 24) & 0xFF), static_cast<int>((code >> 16) & 0xFF),
         static_cast<int>((code >> 8) & 0xFF), static_cast<int>(code & 0xFF));
  return mBuffer != nullptr;
}

// ---- CoreCStringSized

CoreCStringSized::CoreCStringSized(unsigned short size) : CoreCString(static_cast<char const*>(nullptr), size) {}

CoreCStringSized::CoreCStringSized(char const* s, unsigned short size) : CoreCString(s, size) {}

CoreCStringSized::CoreCStringSized(unsigned long code, unsigned short size)
    : CoreCString(static_cast<char const*>(nullptr), std::max<unsigned short>(size, 7)) {
  char const text[] = {'\'', static_cast<char>((code >> 24) & 0xFF), static_cast<char>((code >> 16) & 0xFF),
                       static_cast<char>((code >> 8) & 0xFF), static_cast<char>(code & 0xFF), '\'', 0};
  std::memcpy(mBuffer, text, sizeof text);
}

CoreCStringSized::CoreCStringSized(CoreCStringSized const& s) : CoreCString(s.mBuffer, s.mCapacity) {}

void CoreCStringSized::strcat(char const* s) {
  if (!mBuffer || !s) ThrowNil();
  std::size_t const length = std::strlen(mBuffer);
  std::size_t const added = std::strlen(s);
  unsigned short const joined = static_cast<unsigned short>(length + added);
  // The 16-bit sum is the rule; the real length also has to fit so nothing is overrun.
  if (!(joined < mCapacity - 1) || length + added + 1 > mCapacity) ThrowNil();
  std::memmove(mBuffer + length, s, added + 1);
}

void CoreCStringSized::truncate(char const* at) {
  if (!mBuffer || !at || at < mBuffer || at > mBuffer + std::strlen(mBuffer)) ThrowNil();
  mBuffer[at - mBuffer] = 0;
}
