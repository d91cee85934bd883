#include "TCFString.h"

#include "CoreCString.h"
#include "CoreMachDebugLog.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace {

// Host-order UTF-32 without a byte-order mark, for the wide forms.
constexpr CFStringEncoding kHostUTF32 =
    std::endian::native == std::endian::little ? kCFStringEncodingUTF32LE : kCFStringEncodingUTF32BE;

bool IsString(CFTypeRef ref) { return ref && CFGetTypeID(ref) == CFStringGetTypeID(); }

bool IsNumber(CFTypeRef ref) { return ref && CFGetTypeID(ref) == CFNumberGetTypeID(); }

template <class T>
bool NumberValue(void const* object, CFNumberType type, T& out) {
  return IsNumber(object) && CFNumberGetValue(static_cast<CFNumberRef>(object), type, &out);
}

// A 64-bit reading checked against a narrower unsigned range; the value is clipped like
// the platform's own narrowing conversions.
template <class T>
bool UnsignedValue(void const* object, T& out) {
  SInt64 value = 0;
  bool fOk = NumberValue(object, kCFNumberSInt64Type, value);
  if (!IsNumber(object)) return false;
  if (value < 0) {
    out = 0;
    return false;
  }
  if (static_cast<UInt64>(value) > std::numeric_limits<T>::max()) {
    out = std::numeric_limits<T>::max();
    return false;
  }
  out = static_cast<T>(value);
  return fOk;
}

}  // namespace

TCFString::TCFString() : mValueRef(nullptr), mOwnership(kCFTypeRef_Borrowed) {}

TCFString::TCFString(CFStringRef ref, CFTypeRef_Ownership ownership) : mValueRef(ref), mOwnership(ownership) {}

TCFString::TCFString(char const* text, CFStringBuiltInEncodings encoding)
    : mValueRef(nullptr), mOwnership(kCFTypeRef_Borrowed) {
  SetValue(text, encoding);
}

TCFString::~TCFString() { Release(); }

TCFString::TCFString(TCFString&& other) noexcept : mValueRef(other.mValueRef), mOwnership(other.mOwnership) {
  other.mValueRef = nullptr;
  other.mOwnership = kCFTypeRef_Borrowed;
}

TCFString& TCFString::operator=(TCFString&& other) noexcept {
  if (this != &other) {
    Release();
    mValueRef = other.mValueRef;
    mOwnership = other.mOwnership;
    other.mValueRef = nullptr;
    other.mOwnership = kCFTypeRef_Borrowed;
  }
  return *this;
}

void TCFString::Release() {
  if (mValueRef && mOwnership != kCFTypeRef_Borrowed) CFRelease(mValueRef);
  mValueRef = nullptr;
  mOwnership = kCFTypeRef_Borrowed;
}

void TCFString::SetValue(CFStringRef ref, CFTypeRef_Ownership ownership) {
  if (ref == mValueRef && ownership == mOwnership) return;
  Release();
  mValueRef = ref;
  mOwnership = ownership;
}

bool TCFString::GetValue(std::string& out, CFStringBuiltInEncodings encoding) const {
  out.clear();
  if (!IsString(mValueRef)) return false;
  CFIndex const length = CFStringGetLength(mValueRef);
  if (length <= 0) return false;

  if (encoding != CFStringEncoding(kCFStringEncodingInvalidId) && CFStringIsEncodingAvailable(encoding)) {
    CFIndex const size = CFStringGetMaximumSizeForEncoding(length, encoding);
    if (size > 0) {
      // Room for the widest terminator the conversion writes.
      std::unique_ptr<char[]> buffer(new (std::nothrow) char[std::size_t(size) + 4]);
      if (buffer && CFStringGetCString(mValueRef, buffer.get(), size + 4, encoding)) {
        out.assign(buffer.get());
        return true;
      }
    }
  }

  static CFStringBuiltInEncodings const PreferredEncoding[] = {
      kCFStringEncodingUTF8,          kCFStringEncodingUTF8,      kCFStringEncodingMacRoman,
      kCFStringEncodingWindowsLatin1, kCFStringEncodingISOLatin1, kCFStringEncodingASCII,
      kCFStringEncodingNextStepLatin, kCFStringEncodingNonLossyASCII,
  };
  for (std::size_t i = 0; i < sizeof PreferredEncoding / sizeof PreferredEncoding[0]; ++i) {
    if (!CFStringIsEncodingAvailable(PreferredEncoding[i])) continue;
    // The first available encoding decides; a failed conversion is not retried.
    CFIndex const _max_buffer_size = CFStringGetMaximumSizeForEncoding(length, PreferredEncoding[i]) + 1;
    char* buffer_raw_string = nullptr;
    bool fOk = CoreVerify(buffer_raw_string = (char*)std::malloc(_max_buffer_size));
    if (fOk && CoreVerify(fOk = ::CFStringGetCString(mValueRef,buffer_raw_string,_max_buffer_size,PreferredEncoding[i])))
      out.assign(buffer_raw_string);
    std::free(buffer_raw_string);
    return fOk;
  }
  return false;
}

bool TCFString::GetValue(HFSUniStr255& out) const {
  out.length = 0;
  if (!IsString(mValueRef)) return false;
  CFIndex const length = CFStringGetLength(mValueRef);
  if (length > 255) return false;
  CFStringGetCharacters(mValueRef, CFRangeMake(0, length), out.unicode);
  out.length = static_cast<UInt16>(length);
  return true;
}

bool TCFString::GetValue(std::u16string& out) const {
  out.clear();
  if (!IsString(mValueRef)) return false;
  out.resize(std::size_t(CFStringGetLength(mValueRef)));
  CFStringGetCharacters(mValueRef, CFRangeMake(0, CFIndex(out.size())), reinterpret_cast<UniChar*>(out.data()));
  return true;
}

bool TCFString::GetValue(std::wstring& out) const {
  static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32 here");
  out.clear();
  if (!IsString(mValueRef)) return false;
  CFIndex const size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(mValueRef), kHostUTF32) + 4;
  std::wstring buffer(std::size_t(size) / 4, L'\0');
  if (!CFStringGetCString(mValueRef, reinterpret_cast<char*>(buffer.data()), CFIndex(buffer.size() * 4), kHostUTF32))
    return false;
  out.assign(buffer.c_str());
  return true;
}

bool TCFString::SetValue(char const* in_cstring, CFStringBuiltInEncodings inFromThisEncoding) {
  // The check is spelled as written in the source; the macro would show NULL expanded.
  if (!_CoreMachDebugCheck(in_cstring != nullptr, __PRETTY_FUNCTION__, __FILE__, __LINE__,
                           " code : in_cstring!=NULL"))
    return false;
  CFStringRef const made = CFStringCreateWithCString(kCFAllocatorDefault, in_cstring, inFromThisEncoding);
  if (!made) {
    CoreMachDebugLog("TCFString::SetValue in_cstring:%s inFromThisEncoding:%d\n", in_cstring,
                     static_cast<int>(inFromThisEncoding));
    return false;
  }
  SetValue(made, kCFTypeRef_Owned);
  return true;
}

bool TCFString::SetValue(HFSUniStr255 const& in) {
  if (in.length > 255) return false;
  CFStringRef const made = CFStringCreateWithCharacters(kCFAllocatorDefault, in.unicode, in.length);
  if (!made) return false;
  SetValue(made, kCFTypeRef_Owned);
  return true;
}

bool TCFString::SetValue(std::u16string const& in) {
  CFStringRef const made = CFStringCreateWithCharacters(
      kCFAllocatorDefault, reinterpret_cast<UniChar const*>(in.data()), CFIndex(in.size()));
  if (!made) return false;
  SetValue(made, kCFTypeRef_Owned);
  return true;
}

bool TCFString::SetValue(std::wstring const& in) {
  CFStringRef const made = CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(in.data()),
                                                   CFIndex(in.size() * sizeof(wchar_t)), kHostUTF32, false);
  if (!made) return false;
  SetValue(made, kCFTypeRef_Owned);
  return true;
}

CFIndex TCFString::strlen() const { return IsString(mValueRef) ? CFStringGetLength(mValueRef) : 0; }

int TCFString::strcmp(CFStringRef other) const {
  bool const mine = IsString(mValueRef);
  bool const theirs = IsString(other);
  if (!mine || !theirs) return int(mine) - int(theirs);
  return static_cast<int>(CFStringCompare(mValueRef, other, 0));
}

int TCFString::strcmp(char const* utf8) const {
  TCFString const other(utf8 ? CFStringCreateWithCString(kCFAllocatorDefault, utf8, kCFStringEncodingUTF8)
                             : nullptr,
                        kCFTypeRef_Owned);
  return strcmp(other.mValueRef);
}

bool TCFString::ToUnicode(char const* text, HFSUniStr255& out, CFStringBuiltInEncodings encoding) {
  out.length = 0;
  if (!text) return false;
  TCFString const name(CFStringCreateWithCString(kCFAllocatorDefault, text, encoding), kCFTypeRef_Owned);
  return name.mValueRef && name.GetValue(out);
}

bool TCFString::ToUnicode(unsigned char const* pascal, HFSUniStr255& out, CFStringBuiltInEncodings encoding) {
  out.length = 0;
  if (!pascal) return false;
  TCFString const name(CFStringCreateWithBytes(kCFAllocatorDefault, pascal + 1, pascal[0], encoding, false),
                       kCFTypeRef_Owned);
  return name.mValueRef && name.GetValue(out);
}

bool TCFString::FromUnicode(HFSUniStr255 const& in, std::string& out, CFStringBuiltInEncodings encoding) {
  out.clear();
  if (in.length > 255) return false;
  if (in.length == 0) return true;
  TCFString const name(CFStringCreateWithCharacters(kCFAllocatorDefault, in.unicode, in.length), kCFTypeRef_Owned);
  if (!name.mValueRef) return false;
  // Only the asked encoding: a file name must not silently change its encoding.
  CFIndex const size = CFStringGetMaximumSizeForEncoding(in.length, encoding) + 4;
  if (size <= 4) return false;
  std::string buffer(std::size_t(size), '\0');
  if (!CFStringGetCString(name.mValueRef, buffer.data(), size, encoding)) return false;
  out.assign(buffer.c_str());
  return true;
}

// ---- CFTypeRefClass

bool CFTypeRefClass::GetTypeDescription(CFTypeID typeID, std::string& out) {
  TCFString const text(CFCopyTypeIDDescription(typeID), kCFTypeRef_Owned);
  return text.GetValue(out);
}

bool CFTypeRefClass::GetDescription(void const* object, std::string& out) {
  if (!object) {
    out.clear();
    return false;
  }
  TCFString const text(CFCopyDescription(object), kCFTypeRef_Owned);
  return text.GetValue(out);
}

bool CFTypeRefClass::ConvertTo(void const* object, double& out) { return NumberValue(object, kCFNumberDoubleType, out); }
bool CFTypeRefClass::ConvertTo(void const* object, float& out) { return NumberValue(object, kCFNumberFloatType, out); }
bool CFTypeRefClass::ConvertTo(void const* object, short& out) { return NumberValue(object, kCFNumberShortType, out); }
bool CFTypeRefClass::ConvertTo(void const* object, unsigned short& out) { return UnsignedValue(object, out); }
bool CFTypeRefClass::ConvertTo(void const* object, int& out) { return NumberValue(object, kCFNumberIntType, out); }
bool CFTypeRefClass::ConvertTo(void const* object, unsigned int& out) { return UnsignedValue(object, out); }
bool CFTypeRefClass::ConvertTo(void const* object, long& out) { return NumberValue(object, kCFNumberLongType, out); }
bool CFTypeRefClass::ConvertTo(void const* object, unsigned long& out) { return UnsignedValue(object, out); }

bool CFTypeRefClass::ConvertTo(void const* object, std::string& out) {
  if (!IsString(object)) {
    out.clear();
    return false;
  }
  return TCFString(static_cast<CFStringRef>(object)).GetValue(out);
}

// ---- CoreCString from a platform string

CoreCString& CoreCString::operator=(CFStringRef s) {
  std::string text;
  TCFString(s).GetValue(text);
  Alloc(text.c_str(), 0);
  return *this;
}
