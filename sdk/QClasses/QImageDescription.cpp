#include "QImageDescription.h"

#include "CoreMachDebugLog.h"
#include "QAutoLock.h"
#include "QPixMap_inl.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

UInt32 FromBigEndian(unsigned char const* b) {
  return (UInt32(b[0]) << 24) | (UInt32(b[1]) << 16) | (UInt32(b[2]) << 8) | UInt32(b[3]);
}

std::string FourCharText(UInt32 code) {
  char text[5] = {char(code >> 24), char(code >> 16), char(code >> 8), char(code), 0};
  return text;
}

}  // namespace

QImageDescription::QImageDescription(ImageDescription** hImageDescription) {
  Construct(hImageDescription, false);
}
QImageDescription::QImageDescription(unsigned long effectType) { Construct(effectType); }
QImageDescription::QImageDescription(PixMap** hPixMap) { Construct(hPixMap); }
QImageDescription::QImageDescription(QImageDescription const& other) {
  ConstructCopy(other.mHandle);
}
QImageDescription& QImageDescription::operator=(QImageDescription const& other) {
  if (this != &other) ConstructCopy(other.mHandle);
  return *this;
}
QImageDescription::~QImageDescription() { Destruct(); }

void QImageDescription::Destruct() {
  if (mHandle && mOwned) DisposeHandle(reinterpret_cast<Handle>(mHandle));
  mHandle = nullptr;
  mOwned = false;
}

bool QImageDescription::Construct(ImageDescription** hImageDescription, bool takeOwnership) {
  Destruct();
  if (!CoreVerify(mHandle = hImageDescription)) return false;
  mOwned = takeOwnership;
  return true;
}

bool QImageDescription::Construct(unsigned long effectType) {
  Destruct();
  ImageDescriptionHandle h = nullptr;
  if (CoreVerifyOSerr(MakeImageDescriptionForEffect(OSType(effectType), &h))) return false;
  return Construct(h, true);
}

bool QImageDescription::Construct(PixMap** hPixMap) {
  Destruct();
  ImageDescriptionHandle h = nullptr;
  if (CoreVerifyOSerr(MakeImageDescriptionForPixMap(hPixMap, &h))) return false;
  if (!Construct(h, true)) return false;
  long rowBytes = 0;
  if (!GetExtension_rowb(rowBytes, 1)) {
    SInt32 const stride = SInt32(QTGetPixMapHandleRowBytes(hPixMap));
    unsigned char const rowb_extension[4] = {UInt8(stride >> 24), UInt8(stride >> 16),
                                             UInt8(stride >> 8), UInt8(stride)};
    if (!CoreVerify(AddExtension(rowb_extension, 'rowb'))) return false;
  }
  return true;
}

bool QImageDescription::ConstructCopy(ImageDescription** hImageDescription) {
  Destruct();
  Handle hCopy = reinterpret_cast<Handle>(hImageDescription);
  if (!hCopy || CoreVerifyOSerr(HandToHand(&hCopy))) return false;
  return Construct(reinterpret_cast<ImageDescriptionHandle>(hCopy), false);
}

short QImageDescription::Width() const { return mHandle ? (*mHandle)->width : 0; }
short QImageDescription::Height() const { return mHandle ? (*mHandle)->height : 0; }
unsigned long QImageDescription::GetPixelFormat() const { return mHandle ? (*mHandle)->cType : 0; }

QClasses::QPoint QImageDescription::Dimensions() const { return QClasses::QPoint(Width(), Height()); }

bool QImageDescription::GetBounds(Rect& outBounds) const {
  outBounds = Rect{0, 0, Height(), Width()};
  return mHandle != nullptr;
}

long QImageDescription::DataSize() const {
  if (!CoreVerify(mHandle)) return 0;
  return (*mHandle)->dataSize;
}

short QImageDescription::BitDepth() const {
  if (!CoreVerify(mHandle)) return 0;
  return (*mHandle)->depth;
}

void QImageDescription::SetWidthHeight(Point const& size) { SetWidthHeight(size.h, size.v); }

void QImageDescription::SetWidthHeight(short width, short height) {
  if (!CoreVerify(mHandle)) return;
  (*mHandle)->width = width;
  (*mHandle)->height = height;
}

OSErr QImageDescription::AddImageDescriptionExtension(char** extension, long type) {
  if (!extension || type == 0) return paramErr;
  return ::AddImageDescriptionExtension(mHandle, extension, type);
}

OSErr QImageDescription::AddImageDescriptionExtension(void const* data, unsigned long size,
                                                      long idType) {
  if (!CoreVerify(idType!=kInvalidTypeId)) return paramErr;
  Handle h = nullptr;
  if (OSErr err = PtrToHand(data, &h, long(size))) return err;
  OSErr const err = AddImageDescriptionExtension(h, idType);
  DisposeHandle(h);
  return err;
}

OSErr QImageDescription::AddImageDescriptionExtension_S32(SInt32 value, long type) {
  return AddImageDescriptionExtension_U32(UInt32(value), type);
}

OSErr QImageDescription::AddImageDescriptionExtension_U32(UInt32 value, long type) {
  unsigned char const bigEndian[4] = {UInt8(value >> 24), UInt8(value >> 16), UInt8(value >> 8),
                                      UInt8(value)};
  return AddImageDescriptionExtension(bigEndian, sizeof bigEndian, type);
}

OSErr QImageDescription::GetImageDescriptionExtension(char**& outExtension, long type, long index) const {
  outExtension = nullptr;
  OSErr const err = ::GetImageDescriptionExtension(mHandle, &outExtension, type, index);
  if (err == codecExtensionNotFoundErr) return err;
  CoreMachDebugVerifyOSerr(err);
  return err;
}

OSErr QImageDescription::GetImageDescriptionExtension(void* out, unsigned long in_data_size,
                                                      long type, long index) const {
  std::memset(out, 0, in_data_size);
  Handle extension = nullptr;
  OSErr const err = GetImageDescriptionExtension(extension, type, index);
  if (err != noErr) return err;
  {
    QAutoLock lock(extension);
    if (CoreVerify(in_data_size==lock.HandleSizeBytes()))
      std::memcpy(out, *extension, in_data_size);
  }
  DisposeHandle(extension);
  return noErr;
}

bool QImageDescription::GetFirstExtensionType(long& type) const {
  type = 0;
  return GetNextExtensionType(type);
}

bool QImageDescription::GetNextExtensionType(long& type) const {
  if (!mHandle || GetNextImageDescriptionExtensionType(mHandle, &type) != noErr) return false;
  return type != 0;
}

bool QImageDescription::GetExtensionU32(UInt32& value, long type, long index) const {
  unsigned char bytes[4];
  if (GetImageDescriptionExtension(bytes, sizeof bytes, type, index) != noErr) return false;
  value = FromBigEndian(bytes);
  return true;
}

bool QImageDescription::GetExtension_rowb(long& rowBytes, long index) const {
  UInt32 value = 0;
  if (mHandle && GetExtensionU32(value, 'rowb', index)) {
    rowBytes = long(SInt32(value));
    return true;
  }
  if (!mHandle) return false;
  // Without the atom, only the 4:2:2 formats have a row size that can be worked out.
  switch (GetPixelFormat()) {
    case '2vuy':
    case 'UYVY':
    case 'YVYU':
    case 'yuvs':
    case 'yuvu':
      rowBytes = (*mHandle)->dataSize != 0 && Height() != 0 ? long((*mHandle)->dataSize) / Height()
                                           : long(Width()) * 2;
      return true;
    default:
      return false;
  }
}

bool QImageDescription::AddExtension_rowb(long rowBytes) {
  long existing = 0;
  if (GetExtension_rowb(existing, 1)) return true;
  return CoreVerifyOSerr(AddImageDescriptionExtension_S32(rowBytes, FOUR_CHAR_CODE('rowb'))) == noErr;
}

bool QImageDescription::GetExtension_gama(Fixed& gamma, long index) const {
  UInt32 value = 0;
  bool const found = GetExtensionU32(value, 'gama', index);
  gamma = Fixed(value);
  return found;
}

bool QImageDescription::GetExtension_cspc(OSType& colorSpace, long index) const {
  UInt32 value = 0;
  bool const found = GetExtensionU32(value, 'cspc', index);
  colorSpace = value;
  return found;
}

bool QImageDescription::GetExtension(FieldInfoImageDescriptionExtension2& out, long index) const {
  return GetImageDescriptionExtension(&out, sizeof out, 'fiel', index) == noErr;
}
bool QImageDescription::GetExtension(CleanApertureImageDescriptionExtension& out, long index) const {
  return GetImageDescriptionExtension(&out, sizeof out, 'clap', index) == noErr;
}
bool QImageDescription::GetExtension(PixelAspectRatioImageDescriptionExtension& out, long index) const {
  return GetImageDescriptionExtension(&out, sizeof out, 'pasp', index) == noErr;
}
bool QImageDescription::GetExtension(NCLCColorInfoImageDescriptionExtension& out, long index) const {
  return GetImageDescriptionExtension(&out, sizeof out, 'nclc', index) == noErr;
}

void QImageDescription::CoreDebugPrint(char const* label, int verbosity) const {
  CoreMachDebugLog("QImageDescription: %s (%08lx)\n", label ? label : "",
                   static_cast<unsigned long>(reinterpret_cast<uintptr_t>(mHandle)));
  if (!CoreVerify(mHandle)) return;
  ImageDescription const& d = **mHandle;
  if (d.name[0] != 0) {
    std::string const name(reinterpret_cast<char const*>(d.name + 1), std::min<size_t>(d.name[0], 31));
    CoreMachDebugLog("ImageDescription.name = %s\n", name.c_str());
  }
  CoreMachDebugLog("ImageDescription.depth = %d\n", d.depth);
  CoreMachDebugLog("ImageDescription.(width,height) = (%d,%d)\n", d.width, d.height);
  CoreMachDebugLog("ImageDescription.cType (pixelFormat)= %s\n", FourCharText(d.cType).c_str());
  if (verbosity > 0) {
    CoreMachDebugLog("ImageDescription.resvd1=%d (0)\n", int(d.resvd1));
    CoreMachDebugLog("ImageDescription.resvd2=%d (0)\n", d.resvd2);
    CoreMachDebugLog("ImageDescription.dataRefIndex=%d\n", d.dataRefIndex);
    CoreMachDebugLog("ImageDescription.version= %d\n", d.version);
    CoreMachDebugLog("ImageDescription.revisionLevel= %d\n", d.revisionLevel);
    CoreMachDebugLog("ImageDescription.vendor=%s\n", FourCharText(UInt32(d.vendor)).c_str());
    CoreMachDebugLog("ImageDescription.temporalQuality=%d\n", int(d.temporalQuality));
    CoreMachDebugLog("ImageDescription.spatialQuality =%d\n", int(d.spatialQuality));
    CoreMachDebugLog("ImageDescription.hRes=%d\n", int(d.hRes));
    CoreMachDebugLog("ImageDescription.vRes=%d\n", int(d.vRes));
    CoreMachDebugLog("ImageDescription.dataSize=%d\n", int(d.dataSize));
    CoreMachDebugLog("ImageDescription.frameCount=%d\n", d.frameCount);
    CoreMachDebugLog("ImageDescription.clutID=%d\n", d.clutID);
  }
  long type = 0;
  for (int n = 0; GetNextExtensionType(type); ++n)
    CoreMachDebugLog("ImageDescription.extension[%02d]=%s\n", n, FourCharText(UInt32(type)).c_str());
}
