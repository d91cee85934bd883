#include "CoreUserFolder.h"

#include "CoreMachDebugLog.h"
#include "CoreUnixPath.h"
#include "Core_FSRef_inl.h"
#include "LFSRef.h"

CoreUserFolder::CoreUserFolder(char const* inSubFolderName, unsigned long inFindFolderLocation,
                               short inFindFolderDomain)
    : mFindFolderLocation(UInt32(inFindFolderLocation)),
      mFindFolderDomain(inFindFolderDomain),
      mSubFolderName(nullptr),
      mSubFolderStorage(inSubFolderName ? inSubFolderName : "") {
  if (inSubFolderName) mSubFolderName = mSubFolderStorage.c_str();
  FSRef foundFolderRef{};
  CoreMachDebugVerify(GetFileRef(foundFolderRef));
}

CoreUserFolder::CoreUserFolder(unsigned long inFindFolderLocation, short inFindFolderDomain)
    : CoreUserFolder(nullptr, inFindFolderLocation, inFindFolderDomain) {}

CoreUserFolder::CoreUserFolder(CoreUserFolder const& other)
    : mFindFolderLocation(other.mFindFolderLocation),
      mFindFolderDomain(other.mFindFolderDomain),
      mSubFolderName(nullptr),
      mSubFolderStorage(other.mSubFolderStorage) {
  if (other.mSubFolderName) mSubFolderName = mSubFolderStorage.c_str();
}

CoreUserFolder& CoreUserFolder::operator=(CoreUserFolder const& other) {
  if (this != &other) {
    mFindFolderLocation = other.mFindFolderLocation;
    mFindFolderDomain = other.mFindFolderDomain;
    mSubFolderStorage = other.mSubFolderStorage;
    mSubFolderName = other.mSubFolderName ? mSubFolderStorage.c_str() : nullptr;
  }
  return *this;
}

bool CoreUserFolder::GetFileRef(FSRef& out_file_ref) const {
  return CoreVerify(FSRefOfFoundFolder(out_file_ref, mFindFolderLocation, mFindFolderDomain, mSubFolderName));
}

bool CoreUserFolder::GetUnixPath(CoreUnixPath& out_unix_path) const {
  FSRef folder{};
  if (!GetFileRef(folder)) return false;
  char path[1024];
  if (!CoreVerify(bool_FSRef_GetUnixPath(folder, path))) return false;
  return CoreVerify(out_unix_path.Construct(path));
}

CFURLRef CoreUserFolder::GetURLRef() const {
  FSRef folder{};
  if (!GetFileRef(folder)) return nullptr;
  return CFURLCreateFromFSRef(kCFAllocatorDefault, &folder);
}

bool CoreUserFolder::FSRefOfFoundFolder(FSRef& out_foundFolderRef, unsigned long inFindFolderLocation,
                                        short inFindFolderDomain, char const* inSubFolderName) {
  FSRef foundFolderRef{};
  if (CoreVerifyOSerr(FSFindFolder(inFindFolderDomain, inFindFolderLocation, kCreateFolder, &foundFolderRef)))
    return false;
  if (!inSubFolderName || !*inSubFolderName) {
    out_foundFolderRef = foundFolderRef;
    return true;
  }
  LFSRef nestedFolder;
  if (!CoreVerify(nestedFolder.Construct(&foundFolderRef, inSubFolderName))) return false;
  bool fOk;
  if (nestedFolder.IsFolder()) {
    CoreVerify(fOk = nestedFolder.GetNormalizedRef(out_foundFolderRef));
    return fOk;
  }
  // Something that is not a folder may hold the name: the creation then fails and is reported.
  if (!CoreVerify(nestedFolder.CreateFolder())) return false;
  CoreVerify(fOk = nestedFolder.GetNormalizedRef(out_foundFolderRef));
  return fOk;
}
