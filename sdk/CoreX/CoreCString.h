// Heap-allocated zero-terminated text with an explicit 16-bit capacity (terminator
// included), the fixed-capacity variant, and the hexadecimal / four-character-code texts.
// Operations that need a buffer throw CoreException("Nil exception pointer") without one.
#pragma once

#include "CoreFoundation.h"

#include <string>

class CorePString;

// Two upper-case hex digits of *byte, then the separator (a space for one below 32) when
// it is non-zero. The text lives in one process-wide scratch buffer.
char const* HexDigitPairFromByte(unsigned char* byte, char separator);

class CoreCString {
 public:
  CoreCString();
  CoreCString(char const* s, unsigned short size = 0);
  CoreCString(CoreCString const& s, unsigned short size = 0);
  CoreCString(CorePString const& s, unsigned short size = 0);
  CoreCString(std::string const& s, unsigned short size = 0);
  CoreCString(unsigned char const* pascal, unsigned short size = 0);
  // "0x4a504547 'JPEG'"
  CoreCString(unsigned long code, unsigned short size);
  virtual ~CoreCString();

  CoreCString& operator=(CoreCString const& s);
  CoreCString& operator=(char const* s);
  CoreCString& operator=(CFStringRef s);  // the text in the preferred 8-bit encoding

  // Capacity = max(size, strlen(s) + 1); reuses the buffer when it is large enough.
  void Alloc(char const* s, unsigned short size);
  void Alloc(unsigned short size) { Alloc(nullptr, size); }
  void Delete();
  void Empty();

  // Copies max(strlen(s), n) characters, truncated only by the capacity.
  void safe_strncpy(char const* s, unsigned short n);
  void safe_strcpy(char const* s);
  void safe_strcat(char const* s);
  // Grows as needed.
  virtual void strcat(char const* s);
  CoreCString& operator+=(char const* s);
  CoreCString& operator+=(CoreCString const& s);
  CoreCString& operator+=(unsigned char const* pascal);

  // Results longer than 2048 characters throw.
  void printf(char const* format, ...) __attribute__((format(printf, 2, 3)));
  // Results longer than 3 characters throw, whatever the buffer size.
  void sprintf(char* buffer, unsigned long size, char const* format, ...)
      __attribute__((format(printf, 4, 5)));

  double AsDouble() const;
  char* trim_trailing_whitespace();
  char* trim_leading_whitespace();
  char* trim_trailing_and_leading_whitespace();

  bool operator==(char const* s) const;
  bool operator==(unsigned char const* pascal) const;

  void AssignTo(char* out) const;
  void AssignTo(unsigned char* pascal, unsigned int max) const;
  static void AssignTo(unsigned char* pascal, unsigned int max, char const* s);

  char const* c_str() const { return mBuffer; }
  char const* Get_const_cstring() const { return mBuffer; }

  // Hex dump of count = length (or maxBytes when non-zero and not larger) bytes.
  char const* EncodeHexString(void const* data, unsigned int length, unsigned int maxBytes,
                              char separator);
  char const* HexData(void const* data, unsigned int length, unsigned int maxBytes, char separator) {
    return EncodeHexString(data, length, maxBytes, separator);
  }
  char const* AsHexString();
  // The bytes of the hex digit pairs in text; they may contain zeros.
  char const* DecodeHexString(char const* text);
  bool ConstructFourCharCode(unsigned long code);

  char* mBuffer;
  unsigned short mCapacity;

 protected:
  char* Buffer() const;  // throws without a buffer
  std::size_t Length() const;
};

class CoreCStringSized : public CoreCString {
 public:
  explicit CoreCStringSized(unsigned short size);
  CoreCStringSized(char const* s, unsigned short size);
  // "'JPEG'", capacity max(size, 7).
  CoreCStringSized(unsigned long code, unsigned short size);
  CoreCStringSized(CoreCStringSized const& s);

  // Never grows: throws when the joined text would not be below capacity - 1.
  void strcat(char const* s) override;
  // Ends the text at a position inside it (its terminator included); throws otherwise.
  void truncate(char const* at);
};
