#include "Gestalt.h"

#include <cctype>
#include <sys/utsname.h>

namespace {

// Reads a decimal part and the character after it; false when there are no digits.
bool ReadPart(char const*& p, long& value) {
  if (!std::isdigit(static_cast<unsigned char>(*p))) return false;
  value = 0;
  while (std::isdigit(static_cast<unsigned char>(*p))) {
    if (value < 1000) value = value * 10 + (*p - '0');
    ++p;
  }
  return true;
}

SInt32 Bcd(long value, int digits) {
  long const max = digits == 2 ? 99 : 9;
  if (value > max) value = max;
  return digits == 2 ? SInt32((value / 10) << 4 | (value % 10)) : SInt32(value);
}

}  // namespace

OSErr GestaltVersionFromRelease(char const* release, SInt32* response) {
  if (!release || !response) return paramErr;
  char const* p = release;
  long major = 0, minor = 0, bugFix = 0;
  if (!ReadPart(p, major)) return gestaltUnknownErr;
  if (*p == '.') {
    ++p;
    if (ReadPart(p, minor) && *p == '.') {
      ++p;
      ReadPart(p, bugFix);
    }
  }
  *response = Bcd(major, 2) << 8 | Bcd(minor, 1) << 4 | Bcd(bugFix, 1);
  return noErr;
}

OSErr Gestalt(OSType selector, SInt32* response) {
  if (!response) return paramErr;
  if (selector != gestaltSystemVersion) return gestaltUndefSelectorErr;
  struct utsname name {};
  if (::uname(&name) != 0) return gestaltUnknownErr;
  return GestaltVersionFromRelease(name.release, response);
}
