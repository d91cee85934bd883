#include "ImageCompression.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr long kHeadBytes = 8;  // atom size + type

UInt32 ReadBE(char const* p) {
  auto const* b = reinterpret_cast<unsigned char const*>(p);
  return (UInt32(b[0]) << 24) | (UInt32(b[1]) << 16) | (UInt32(b[2]) << 8) | UInt32(b[3]);
}

void WriteBE(char* p, UInt32 v) {
  auto* b = reinterpret_cast<unsigned char*>(p);
  b[0] = UInt8(v >> 24);
  b[1] = UInt8(v >> 16);
  b[2] = UInt8(v >> 8);
  b[3] = UInt8(v);
}

struct Atom {
  long offset;  // of the atom's head in the block
  long payloadBytes;
  OSType type;
};

// The atoms behind the header, in order; a malformed tail ends the walk.
std::vector<Atom> Atoms(ImageDescriptionHandle desc) {
  std::vector<Atom> atoms;
  long const total = GetHandleSize(reinterpret_cast<Handle>(desc));
  char const* block = reinterpret_cast<char const*>(*desc);
  long const end = std::min<long>(total, (*desc)->idSize);
  long at = long(sizeof(ImageDescription));
  while (at + kHeadBytes <= end) {
    long const size = long(ReadBE(block + at));
    if (size < kHeadBytes || at + size > end) break;
    atoms.push_back({at, size - kHeadBytes, ReadBE(block + at + 4)});
    at += size;
  }
  return atoms;
}

Atom const* Find(std::vector<Atom> const& atoms, long idType, long index) {
  long seen = 0;
  for (auto const& a : atoms)
    if (a.type == OSType(idType) && ++seen == index) return &a;
  return nullptr;
}

OSErr NewDescription(ImageDescriptionHandle* idh) {
  if (!idh) return paramErr;
  Handle h = NewHandleClear(sizeof(ImageDescription));
  if (!h) return MemError();
  *idh = reinterpret_cast<ImageDescriptionHandle>(h);
  (**idh)->idSize = SInt32(sizeof(ImageDescription));
  return noErr;
}

}  // namespace

OSErr MakeImageDescriptionForPixMap(PixMapHandle pixmap, ImageDescriptionHandle* idh) {
  if (!pixmap || !*pixmap || !idh) return paramErr;
  if (OSErr err = NewDescription(idh)) return err;
  PixMap const& pm = **pixmap;
  ImageDescription& d = ***idh;
  d.cType = pm.pixelFormat ? pm.pixelFormat : OSType(pm.pixelSize);
  d.width = SInt16(pm.bounds.right - pm.bounds.left);
  d.height = SInt16(pm.bounds.bottom - pm.bounds.top);
  d.hRes = pm.hRes;
  d.vRes = pm.vRes;
  d.dataSize = SInt32(long(d.height) * pm.rowBytesLong);
  d.frameCount = 1;
  d.depth = pm.pixelSize;
  d.clutID = -1;
  return noErr;
}

OSErr MakeImageDescriptionForEffect(OSType effectType, ImageDescriptionHandle* idh) {
  if (OSErr err = NewDescription(idh)) return err;
  (**idh)->cType = effectType;
  return noErr;
}

OSErr AddImageDescriptionExtension(ImageDescriptionHandle desc, Handle extension, long idType) {
  if (!desc || !*desc || !extension || idType == 0) return paramErr;
  long const payload = GetHandleSize(extension);
  long const end = (*desc)->idSize;
  Handle block = reinterpret_cast<Handle>(desc);
  SetHandleSize(block, end + kHeadBytes + payload);
  if (OSErr err = MemError()) return err;
  WriteBE(*block + end, UInt32(kHeadBytes + payload));
  WriteBE(*block + end + 4, UInt32(idType));
  if (payload > 0) std::memcpy(*block + end + kHeadBytes, *extension, size_t(payload));
  (*desc)->idSize = SInt32(end + kHeadBytes + payload);
  return noErr;
}

OSErr GetImageDescriptionExtension(ImageDescriptionHandle desc, Handle* extension, long idType,
                                   long index) {
  if (!desc || !*desc || !extension) return paramErr;
  *extension = nullptr;
  auto const atoms = Atoms(desc);
  Atom const* atom = Find(atoms, idType, index);
  if (!atom) return codecExtensionNotFoundErr;
  return PtrToHand(reinterpret_cast<char const*>(*desc) + atom->offset + kHeadBytes, extension,
                   atom->payloadBytes);
}

OSErr CountImageDescriptionExtensionType(ImageDescriptionHandle desc, long idType, long* count) {
  if (!desc || !*desc || !count) return paramErr;
  *count = 0;
  for (auto const& a : Atoms(desc))
    if (a.type == OSType(idType)) ++*count;
  return noErr;
}

OSErr GetNextImageDescriptionExtensionType(ImageDescriptionHandle desc, long* idType) {
  if (!desc || !*desc || !idType) return paramErr;
  // Distinct types in the order they first appear.
  std::vector<OSType> types;
  for (auto const& a : Atoms(desc))
    if (std::find(types.begin(), types.end(), a.type) == types.end()) types.push_back(a.type);
  OSType const current = OSType(*idType);
  if (current == 0) {
    *idType = types.empty() ? 0 : long(types.front());
    return noErr;
  }
  auto it = std::find(types.begin(), types.end(), current);
  *idType = (it == types.end() || it + 1 == types.end()) ? 0 : long(*(it + 1));
  return noErr;
}

OSErr RemoveImageDescriptionExtension(ImageDescriptionHandle desc, long idType, long index) {
  if (!desc || !*desc) return paramErr;
  auto const atoms = Atoms(desc);
  Atom const* atom = Find(atoms, idType, index);
  if (!atom) return codecExtensionNotFoundErr;
  long const atomBytes = kHeadBytes + atom->payloadBytes;
  long const end = (*desc)->idSize;
  char* block = reinterpret_cast<char*>(*desc);
  std::memmove(block + atom->offset, block + atom->offset + atomBytes,
               size_t(end - atom->offset - atomBytes));
  (*desc)->idSize = SInt32(end - atomBytes);
  SetHandleSize(reinterpret_cast<Handle>(desc), end - atomBytes);
  return MemError();
}
