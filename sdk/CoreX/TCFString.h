// An owning (or borrowing) wrapper of a platform string that hands its text out as 8-bit,
// UTF-16, UTF-32 or file-name text, and small readers of other platform objects.
#pragma once

#include "CoreFoundation.h"

#include <string>

enum CFTypeRef_Ownership { kCFTypeRef_Borrowed = 0, kCFTypeRef_Owned = 1 };

class TCFString {
 public:
  TCFString();
  // Stores the reference as passed; it is never retained. Owned refs are released here.
  TCFString(CFStringRef ref, CFTypeRef_Ownership ownership = kCFTypeRef_Borrowed);
  explicit TCFString(char const* text, CFStringBuiltInEncodings encoding = kCFStringEncodingUTF8);
  ~TCFString();
  TCFString(TCFString const&) = delete;
  TCFString& operator=(TCFString const&) = delete;
  TCFString(TCFString&& other) noexcept;
  TCFString& operator=(TCFString&& other) noexcept;

  // 8-bit text in the given encoding, or in the first available preferred one when the
  // encoding is kCFStringEncodingInvalidId or cannot convert. Failure clears out.
  bool GetValue(std::string& out,
                CFStringBuiltInEncodings encoding = CFStringBuiltInEncodings(kCFStringEncodingInvalidId)) const;
  bool GetValue(HFSUniStr255& out) const;
  bool GetValue(std::u16string& out) const;
  bool GetValue(std::wstring& out) const;  // UTF-32

  // Replaces the value with a new owned string made from the text.
  bool SetValue(char const* text, CFStringBuiltInEncodings encoding = kCFStringEncodingUTF8);
  bool SetValue(HFSUniStr255 const& in);
  bool SetValue(std::u16string const& in);
  bool SetValue(std::wstring const& in);  // UTF-32
  // Takes the reference as given; the previous owned value is released.
  void SetValue(CFStringRef ref, CFTypeRef_Ownership ownership);

  CFStringRef Get() const { return mValueRef; }
  // Length in UTF-16 units; 0 for no string.
  CFIndex strlen() const;
  // <0, 0, >0 like ::strcmp; no string sorts before any string.
  int strcmp(CFStringRef other) const;
  int strcmp(char const* utf8) const;

  // File-name conversions used by the Unicode file names. ToUnicode fails when the text is
  // not valid in the encoding or needs more than 255 units.
  static bool ToUnicode(char const* text, HFSUniStr255& out, CFStringBuiltInEncodings encoding);
  static bool ToUnicode(unsigned char const* pascal, HFSUniStr255& out,
                        CFStringBuiltInEncodings encoding);
  static bool FromUnicode(HFSUniStr255 const& in, std::string& out,
                          CFStringBuiltInEncodings encoding = kCFStringEncodingUTF8);

  CFStringRef mValueRef;
  CFTypeRef_Ownership mOwnership;

 private:
  void Release();
};

// Readers of any platform object into plain values.
class CFTypeRefClass {
 public:
  static bool GetTypeDescription(CFTypeID typeID, std::string& out);
  static bool GetDescription(void const* object, std::string& out);

  // A platform number (or, for std::string, a platform string) into the caller's value.
  // False when the object is of another type or the number does not fit exactly.
  static bool ConvertTo(void const* object, double& out);
  static bool ConvertTo(void const* object, float& out);
  static bool ConvertTo(void const* object, short& out);
  static bool ConvertTo(void const* object, unsigned short& out);
  static bool ConvertTo(void const* object, int& out);
  static bool ConvertTo(void const* object, unsigned int& out);
  static bool ConvertTo(void const* object, long& out);
  static bool ConvertTo(void const* object, unsigned long& out);
  static bool ConvertTo(void const* object, std::string& out);
};
