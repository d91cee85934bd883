// File references, catalog queries and find-folder, done with POSIX calls and the XDG folders.
#pragma once

#include "MacTypes.h"

#include <cstddef>

// Names an existing object by identity (device, inode) and by its canonical path.
// Trivially copyable: it may be stored and compared as plain bytes.
struct FSRef {
  UInt64 device;
  UInt64 inode;
  char path[1024];
};

enum : short {
  kOnSystemDisk = -32768,
  kOnAppropriateDisk = -32767,
  kSystemDomain = -32766,
  kLocalDomain = -32765,
  kNetworkDomain = -32764,
  kUserDomain = -32763,
};

enum : OSType {
  kLogsFolderType = FOUR_CHAR_CODE("logs"),
  kPictureDocumentsFolderType = FOUR_CHAR_CODE("pdoc"),
  kDesktopFolderType = FOUR_CHAR_CODE("desk"),
  kDesktopPicturesFolderType = 0x647470C4,  // 'dtp' followed by 0xC4
  kDocumentsFolderType = FOUR_CHAR_CODE("docs"),
  kMovieDocumentsFolderType = FOUR_CHAR_CODE("mdoc"),
  kFrameworksFolderType = FOUR_CHAR_CODE("fram"),
  kTemporaryFolderType = FOUR_CHAR_CODE("temp"),
};

// Finds a standard folder. Folders of the user domain come from the XDG base and user
// directories; with createFolder a missing folder is made (0700 for the state folder).
OSErr FSFindFolder(short vRefNum, OSType folderType, Boolean createFolder, FSRef* foundFolder);

// Makes a reference to an existing object; isDirectory may be null.
OSStatus FSPathMakeRef(UInt8 const* path, FSRef* ref, Boolean* isDirectory);

// Writes the reference's path; fails when the object no longer has that identity.
OSStatus FSRefMakePath(FSRef const* ref, UInt8* path, UInt32 maxPathSize);

// noErr while the referenced object still exists with the same identity.
OSErr FSRefValidate(FSRef const* ref);

// A file name as the file system takes it: up to 255 UTF-16 units.
struct HFSUniStr255 {
  UInt16 length;
  UniChar unicode[255];
};

// The names of the two forks a file has: the data fork (its bytes) and the resource fork.
OSErr FSGetDataForkName(HFSUniStr255* dataForkName);
OSErr FSGetResourceForkName(HFSUniStr255* resourceForkName);
