// A standard folder of the user, and an optional named sub-folder in it, made when missing.
#pragma once

#include "CoreFoundation.h"
#include "Files.h"

#include <string>

class CoreUnixPath;

class CoreUserFolder {
 public:
  CoreUserFolder(char const* inSubFolderName, unsigned long inFindFolderLocation, short inFindFolderDomain);
  CoreUserFolder(unsigned long inFindFolderLocation, short inFindFolderDomain);
  CoreUserFolder(CoreUserFolder const& other);
  CoreUserFolder& operator=(CoreUserFolder const& other);

  bool GetFileRef(FSRef& out_file_ref) const;
  bool GetUnixPath(CoreUnixPath& out_unix_path) const;
  // A new URL of the folder (the caller releases it), or null.
  CFURLRef GetURLRef() const;

  static bool FSRefOfFoundFolder(FSRef& out_foundFolderRef, unsigned long inFindFolderLocation,
                                 short inFindFolderDomain, char const* inSubFolderName);

  UInt32 mFindFolderLocation;
  SInt16 mFindFolderDomain;
  char const* mSubFolderName;  // null, or the text of mSubFolderStorage

 private:
  std::string mSubFolderStorage;
};
