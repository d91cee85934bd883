#include "LHFSUnicodeName.h"

#include "CoreMachDebugLog.h"
#include "LUnicodeTextConverter.h"
#include "TCFString.h"

#include <algorithm>
#include <cstring>

LHFSUnicodeName const LHFSUnicodeName::sDataFork(LHFSUnicodeName::kDataForkSpecialName);
LHFSUnicodeName const LHFSUnicodeName::sResourceFork(LHFSUnicodeName::kResourceForkSpecialName);

LHFSUnicodeName::LHFSUnicodeName() { Empty(); }
LHFSUnicodeName::LHFSUnicodeName(kSpecialName in_name) { Construct(in_name); }
LHFSUnicodeName::LHFSUnicodeName(HFSUniStr255 const& in_name) { Construct(in_name); }
LHFSUnicodeName::LHFSUnicodeName(char const* in_file_name) { Construct(in_file_name); }
LHFSUnicodeName::LHFSUnicodeName(std::string const& in_file_name) { Construct(in_file_name); }
LHFSUnicodeName::LHFSUnicodeName(unsigned char const* in_mac_roman_file_name) {
  Construct(in_mac_roman_file_name);
}
LHFSUnicodeName::LHFSUnicodeName(unsigned char const* in_pstring, short forScriptCode) {
  Construct(in_pstring, forScriptCode);
}
LHFSUnicodeName::LHFSUnicodeName(unsigned short const* in_file_name) { Construct(in_file_name); }
LHFSUnicodeName::LHFSUnicodeName(wchar_t const* in_file_name) { Construct(in_file_name); }

LHFSUnicodeName& LHFSUnicodeName::operator=(HFSUniStr255 const& in_name) {
  Construct(in_name);
  return *this;
}

void LHFSUnicodeName::Empty() {
  superclass_t::length = 0;
  std::fill(std::begin(unicode), std::end(unicode), UniChar(0));
  MarkOverflow();
}

void LHFSUnicodeName::MarkOverflow() {
  mGuard[0] = kGuard0;
  mGuard[1] = kGuard1;
}

bool LHFSUnicodeName::IsMarked() const { return mGuard[0] == kGuard0 && mGuard[1] == kGuard1; }

bool LHFSUnicodeName::IsNullTerminated() const {
  return superclass_t::length < 255 && unicode[superclass_t::length] == 0;
}

bool LHFSUnicodeName::IsValid() const { return IsMarked() && IsNullTerminated(); }

void LHFSUnicodeName::set_length(short in_length) {
  CoreMachDebugVerify(in_length<kMaxLength);
  superclass_t::length = static_cast<UInt16>(in_length);
}

void LHFSUnicodeName::NullTerminateIt() {
  bool fOk;
  if (CoreVerify(fOk = (superclass_t::length<kMaxLength))) unicode[superclass_t::length] = 0;
  MarkOverflow();
}

bool LHFSUnicodeName::Construct(kSpecialName in_name) {
  Empty();
  bool fOk = true;
  switch (in_name) {
    case kNoSpecialName:
      break;
    case kDataForkSpecialName:
      CoreMachDebugVerifyOSerr(FSGetDataForkName(this));
      NullTerminateIt();
      break;
    case kResourceForkSpecialName:
      CoreMachDebugVerifyOSerr(FSGetResourceForkName(this));
      NullTerminateIt();
      break;
    default:
      fOk = false;
      break;
  }
  CoreMachDebugVerify(IsValid());
  return fOk;
}

namespace {

// Units up to the terminator; counting stops once the name is too long anyway.
template <typename Unit>
int CountUnits(Unit const* in_file_name) {
  int count = 0;
  while (count <= LHFSUnicodeName::kMaxLength && in_file_name[count] != 0) ++count;
  return count;
}

// Only the low half of each unit is kept: no surrogate pairs are made.
template <typename Unit>
void SetUnits(LHFSUnicodeName& io_name, Unit const* in_units, int in_count) {
  for (int i = 0; i < in_count; ++i) io_name.unicode[i] = static_cast<UniChar>(in_units[i] & 0xFFFF);
  io_name.set_length(static_cast<short>(in_count));
  io_name.NullTerminateIt();
}

}  // namespace

bool LHFSUnicodeName::Construct(HFSUniStr255 const& in_name) {
  // The source may be this very value.
  HFSUniStr255 const copyOf = in_name;
  Empty();
  if (copyOf.length != 0 && CoreVerify(copyOf.length<=kMaxLength)) {
    SetUnits(*this, copyOf.unicode, std::min<int>(copyOf.length, kMaxLength));
  }
  CoreMachDebugVerify(IsValid());
  return true;
}

bool LHFSUnicodeName::Construct(char const* in_file_name) {
  Empty();
  bool fOk = CoreVerify(in_file_name!=NULL);
  if (fOk) fOk = ConvertFileName(in_file_name, *this);
  if (fOk) {
    NullTerminateIt();
  } else {
    Empty();
  }
  CoreMachDebugVerify(IsValid());
  return fOk;
}

bool LHFSUnicodeName::Construct(std::string const& in_file_name) {
  bool fOk;
  CoreMachDebugVerify(fOk = Construct(in_file_name.c_str()));
  return fOk;
}

bool LHFSUnicodeName::Construct(unsigned char const* in_mac_roman_file_name) {
  Empty();
  bool fOk = CoreVerify(in_mac_roman_file_name!=NULL);
  if (fOk)
    fOk = CoreVerify(TCFString::ToUnicode(in_mac_roman_file_name, *this, kCFStringEncodingMacRoman));
  if (fOk) {
    NullTerminateIt();
  } else {
    Empty();
  }
  CoreMachDebugVerify(IsValid());
  return fOk;
}

bool LHFSUnicodeName::Construct(unsigned char const* in_pstring, short forScriptCode) {
  Empty();
  HFSUniStr255 utf16_file_name{};
  bool fOk = CoreVerify(ConvertFileName(in_pstring, forScriptCode, utf16_file_name));
  if (fOk) CoreMachDebugVerify(fOk=Construct(utf16_file_name));
  CoreMachDebugVerify(IsValid());
  return fOk;
}

bool LHFSUnicodeName::Construct(unsigned short const* in_file_name) {
  Empty();
  bool fOk = CoreVerify(in_file_name!=NULL);
  int const in_length = fOk ? CountUnits(in_file_name) : 0;
  if (fOk) fOk = in_length != 0;
  if (fOk) fOk = CoreVerify(in_length<=kMaxLength);
  if (fOk) {
    SetUnits(*this, in_file_name, in_length);
  }
  CoreMachDebugVerify(IsValid());
  return fOk;
}

bool LHFSUnicodeName::Construct(wchar_t const* in_file_name) {
  Empty();
  bool fOk = CoreVerify(in_file_name!=NULL);
  int const in_length = fOk ? CountUnits(in_file_name) : 0;
  if (fOk) fOk = in_length != 0;
  if (fOk) fOk = CoreVerify(in_length<=kMaxLength);
  if (fOk) {
    SetUnits(*this, in_file_name, in_length);
  }
  CoreMachDebugVerify(IsValid());
  return fOk;
}

bool LHFSUnicodeName::GetUnixPath(std::string& out_file_name) const {
  out_file_name.clear();
  if (superclass_t::length == 0) return true;
  if (!CoreVerify(IsNullTerminated())) return false;
  return CoreVerify(TCFString::FromUnicode(*this, out_file_name));
}

bool LHFSUnicodeName::ConvertFileName(std::string const& in_file_name, HFSUniStr255& out_file_name) {
  return TCFString::ToUnicode(in_file_name.c_str(), out_file_name, kCFStringEncodingUTF8);
}

bool LHFSUnicodeName::ConvertFileName(unsigned char const* in_pstring, short forScriptCode,
                                      HFSUniStr255& out_file_name) {
  out_file_name.length = 0;
  LUnicodeTextConverter converter(forScriptCode,
                                  static_cast<short>(GetScriptManagerVariable(smRegionCode)));
  OSStatus status = converter.TextToUnicode(in_pstring, out_file_name);
  bool fOk;
  CoreMachDebugVerify(fOk = (status==noErr));
  return fOk;
}

bool LHFSUnicodeName::Identical(HFSUniStr255 const* a, HFSUniStr255 const* b) {
  if (a == b) return true;
  if (!a || !b || a->length != b->length) return false;
  std::size_t const count = std::min<std::size_t>(a->length, 255);
  return std::memcmp(a->unicode, b->unicode, count * sizeof(UniChar)) == 0;
}

bool LHFSUnicodeName::operator==(HFSUniStr255 const& other) const { return Identical(this, &other); }
