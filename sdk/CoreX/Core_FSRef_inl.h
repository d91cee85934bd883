// Small checked helpers over file references, shared by the foundation modules.
#pragma once

#include "CoreMachDebugLog.h"
#include "Files.h"

#include <cstring>

inline bool bool_FSRef_IsValid(FSRef const& fileRef) { return FSRefValidate(&fileRef) == noErr; }

// The reference's POSIX path into a caller's buffer; the buffer is cleared first so
// that a failure leaves it empty.
template <std::size_t N>
inline bool bool_FSRef_GetUnixPath(FSRef const& fileRef, char (&path)[N]) {
  std::memset(path, 0, N);
  bool fOk = CoreVerify(bool_FSRef_IsValid(fileRef));
  if (fOk) fOk = FSRefMakePath(&fileRef, reinterpret_cast<UInt8*>(path), N) == noErr;
  return fOk;
}

// A reference to the existing object at a POSIX path.
inline bool bool_FSRef_ConstructFromPath(FSRef& fileRef, char const* path, Boolean* isDirectory = nullptr) {
  if (!path) return false;
  return FSPathMakeRef(reinterpret_cast<UInt8 const*>(path), &fileRef, isDirectory) == noErr;
}

inline bool bool_FSRef_IsDirectory(FSRef const& fileRef) {
  FSCatalogInfo info{};
  return FSGetCatalogInfo(&fileRef, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr) == noErr &&
         (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
}

inline bool bool_FSRef_GetFinderInfo(FSRef const& fileRef, FileInfo& fInfo) {
  FSCatalogInfo info{};
  if (FSGetCatalogInfo(&fileRef, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr) != noErr)
    return false;
  std::memcpy(&fInfo, info.finderInfo, sizeof fInfo);
  return true;
}

inline bool bool_FSRef_SetFinderInfo(FSRef const& fileRef, FileInfo const& fInfo) {
  FSCatalogInfo info{};
  std::memcpy(info.finderInfo, &fInfo, sizeof fInfo);
  return FSSetCatalogInfo(&fileRef, kFSCatInfoFinderInfo, &info) == noErr;
}

// Reads the Finder information, sets type and creator, writes it back (flags and
// location are kept).
inline bool FSRef_SetFileTypeCreator(FSRef const& fileRef, OSType fileType, OSType creator) {
  FileInfo fInfo{};
  if (!bool_FSRef_GetFinderInfo(fileRef, fInfo)) return false;
  fInfo.fileType = fileType;
  fInfo.fileCreator = creator;
  return bool_FSRef_SetFinderInfo(fileRef, fInfo);
}

inline OSErr FSRef_GetParentAndRelativeName(FSRef const& fileRef, FSRef& parentRef, HFSUniStr255& name) {
  return FSGetCatalogInfo(&fileRef, kFSCatInfoNone, nullptr, &name, nullptr, &parentRef);
}

inline OSErr FSRef_ConstructFromParentAndRelativeName(FSRef& outRef, FSRef const* parent,
                                                      HFSUniStr255 const& relative) {
  return FSMakeFSRefUnicode(parent, relative.length, relative.unicode, kTextEncodingUnknown, &outRef);
}

inline OSErr FSRef_GetDateTimeCreated(FSRef const& fileRef, UTCDateTime& out) {
  FSCatalogInfo info{};
  OSErr const err = FSGetCatalogInfo(&fileRef, kFSCatInfoCreateDate, &info, nullptr, nullptr, nullptr);
  if (err == noErr) out = info.createDate;
  return err;
}

inline OSErr FSRef_GetDateTimeModified(FSRef const& fileRef, UTCDateTime& out) {
  FSCatalogInfo info{};
  OSErr const err = FSGetCatalogInfo(&fileRef, kFSCatInfoContentMod, &info, nullptr, nullptr, nullptr);
  if (err == noErr) out = info.contentModDate;
  return err;
}

inline bool bool_FSRef_RenameUnicode(FSRef const& fileRef, HFSUniStr255 const& name, FSRef* newRef) {
  return FSRenameUnicode(&fileRef, name.length, name.unicode, kTextEncodingMacUnicode, newRef) == noErr;
}
