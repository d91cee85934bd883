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
  // Components of this program: /usr/lib/tavelo, /usr/local/lib/tavelo, the user's
  // $XDG_DATA_HOME/tavelo.
  kTaveloComponentsFolderType = FOUR_CHAR_CODE("wcmp"),
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

constexpr OSErr errFSForkNotFound = -1409;
constexpr OSErr errFSForkExists = -1421;
constexpr OSErr errFSOperationNotSupported = -1426;
constexpr OSErr rfNumErr = -51;
constexpr OSErr posErr = -40;
constexpr OSErr tmfoErr = -42;

// Seconds since 1904-01-01 UTC (48 bits) and 1/65536 fractions.
struct UTCDateTime {
  UInt16 highSeconds;
  UInt32 lowSeconds;
  UInt16 fraction;
};

// The first half of a file's Finder information; fields in host byte order. On disk the
// 32-byte record (this, then 16 extended bytes) is big-endian.
struct FileInfo {
  OSType fileType;
  OSType fileCreator;
  UInt16 finderFlags;
  struct {
    SInt16 v;
    SInt16 h;
  } location;  // a Point
  UInt16 reservedField;
};
static_assert(sizeof(FileInfo) == 16);

using FSCatalogInfoBitmap = UInt32;
enum : FSCatalogInfoBitmap {
  kFSCatInfoNone = 0x00000000,
  kFSCatInfoNodeFlags = 0x00000002,
  kFSCatInfoVolume = 0x00000004,
  kFSCatInfoParentDirID = 0x00000008,
  kFSCatInfoNodeID = 0x00000010,
  kFSCatInfoCreateDate = 0x00000020,
  kFSCatInfoContentMod = 0x00000040,
  kFSCatInfoAttrMod = 0x00000080,
  kFSCatInfoAccessDate = 0x00000100,
  kFSCatInfoFinderInfo = 0x00000800,
  kFSCatInfoFinderXInfo = 0x00001000,
  kFSCatInfoDataSizes = 0x00004000,
  kFSCatInfoRsrcSizes = 0x00008000,
  kFSCatInfoGettableInfo = 0x0003FFFF,
};

enum : UInt16 {
  kFSNodeLockedMask = 0x0001,
  kFSNodeIsDirectoryMask = 0x0010,
};

// What a catalog query answers; only the fields asked for are filled.
struct FSCatalogInfo {
  UInt16 nodeFlags;
  SInt16 volume;
  UInt32 parentDirID;
  UInt32 nodeID;
  UTCDateTime createDate;
  UTCDateTime contentModDate;
  UTCDateTime attributeModDate;
  UTCDateTime accessDate;
  UInt8 finderInfo[16];     // a FileInfo (files) or folder information, host byte order
  UInt8 extFinderInfo[16];  // host byte order
  UInt64 dataLogicalSize;
  UInt64 dataPhysicalSize;
  UInt64 rsrcLogicalSize;
  UInt64 rsrcPhysicalSize;
};

struct FSSpec;  // classic file specs are not provided; parameters of that type must be null

// Catalog information, name and parent of an object. Finder information comes from the
// attribute user.com.apple.FinderInfo (all zero when absent); a file system without user
// attributes answers errFSOperationNotSupported when it is asked for.
OSErr FSGetCatalogInfo(FSRef const* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpec* fsSpec, FSRef* parentRef);

// Sets Finder information (both halves) and the modification / access dates.
OSErr FSSetCatalogInfo(FSRef const* ref, FSCatalogInfoBitmap whichInfo,
                       FSCatalogInfo const* catalogInfo);

// The existing child of a folder by its UTF-16 name.
OSErr FSMakeFSRefUnicode(FSRef const* parentRef, UniCharCount nameLength, UniChar const* name,
                         UInt32 textEncodingHint, FSRef* newRef);

// Create a new file / folder by UTF-16 name; an existing name gives dupFNErr.
OSErr FSCreateFileUnicode(FSRef const* parentRef, UniCharCount nameLength, UniChar const* name,
                          FSCatalogInfoBitmap whichInfo, FSCatalogInfo const* catalogInfo,
                          FSRef* newRef, FSSpec* newSpec);
OSErr FSCreateDirectoryUnicode(FSRef const* parentRef, UniCharCount nameLength,
                               UniChar const* name, FSCatalogInfoBitmap whichInfo,
                               FSCatalogInfo const* catalogInfo, FSRef* newRef, FSSpec* newSpec,
                               UInt32* newDirID);

// Deletes a file or an empty folder (a folder with items gives fBsyErr).
OSErr FSDeleteObject(FSRef const* ref);

// Renames inside the same folder; an existing name gives dupFNErr.
OSErr FSRenameUnicode(FSRef const* ref, UniCharCount nameLength, UniChar const* name,
                      UInt32 textEncodingHint, FSRef* newRef);

constexpr UInt32 kTextEncodingMacUnicode = 126;
constexpr UInt32 kTextEncodingUnknown = 0xFFFF;

// Forks: the data fork is the file's bytes, the resource fork the attribute
// user.com.apple.ResourceFork. Other fork names are not supported (errFSForkNotFound).
using FSIORefNum = SInt16;
enum : SInt8 { fsCurPerm = 0, fsRdPerm = 1, fsWrPerm = 2, fsRdWrPerm = 3, fsRdWrShPerm = 4 };
enum : UInt16 { fsAtMark = 0, fsFromStart = 1, fsFromLEOF = 2, fsFromMark = 3 };

OSErr FSOpenFork(FSRef const* ref, UniCharCount forkNameLength, UniChar const* forkName,
                 SInt8 permissions, FSIORefNum* forkRefNum);
// A read that reaches the end answers eofErr with the bytes it got.
OSErr FSReadFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                 ByteCount requestCount, void* buffer, ByteCount* actualCount);
OSErr FSWriteFork(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset,
                  ByteCount requestCount, void const* buffer, ByteCount* actualCount);
OSErr FSGetForkPosition(FSIORefNum forkRefNum, SInt64* position);
OSErr FSSetForkPosition(FSIORefNum forkRefNum, UInt16 positionMode, SInt64 positionOffset);
OSErr FSGetForkSize(FSIORefNum forkRefNum, SInt64* forkSize);
OSErr FSCloseFork(FSIORefNum forkRefNum);
// The data fork always exists (create: errFSForkExists; delete: it is emptied).
OSErr FSCreateFork(FSRef const* ref, UniCharCount forkNameLength, UniChar const* forkName);
OSErr FSDeleteFork(FSRef const* ref, UniCharCount forkNameLength, UniChar const* forkName);

// Aliases: the target's identity and path, and for a relative alias the path from the
// folder of the file it was made from. Resolving tries the identity first (at the recorded
// path, then among the recorded folder's items, so a renamed target is found), then the path.
struct AliasRecord {
  OSType userType;
  UInt16 aliasSize;
  UInt64 device;
  UInt64 inode;
  char path[1024];
  char relativePath[1024];  // empty for a minimal alias
};
using AliasPtr = AliasRecord*;
using AliasHandle = AliasPtr*;

OSErr FSNewAlias(FSRef const* fromFile, FSRef const* target, AliasHandle* inAlias);
OSErr FSNewAliasMinimal(FSRef const* target, AliasHandle* inAlias);
// wasChanged is set when the record had to be brought up to date.
OSErr FSResolveAlias(FSRef const* fromFile, AliasHandle alias, FSRef* target, Boolean* wasChanged);
void DisposeAliasHandle(AliasHandle alias);
