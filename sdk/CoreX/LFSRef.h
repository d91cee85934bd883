// A reference to a file or folder that may not exist yet: the deepest existing folder (or
// the object itself) plus a latent POSIX remainder below it.
#pragma once

#include "Files.h"
#include "LHFSUnicodeName.h"
#include "LUnixPath.h"

#include <cstdio>
#include <string>

class XFileName;

// A flat record of an LFSRef, copied as bytes.
struct LFSRef_data_t {
  FSRef reference;
  HFSUniStr255 latent_path;
  UInt16 state;

  void Empty();
  bool IsEmpty() const { return state == 0; }
};

class LFSRef {
 public:
  enum : SInt32 {
    State_Invalid = 0,
    State_Exists = 1,
    State_HasLatentPath = 2,
    State_ExistsWithLatentPath = 3,
  };

  LFSRef();
  LFSRef(char const* in_unix_path);
  LFSRef(FSRef const* theFileRef);
  LFSRef(FSRef const* parentRef, LHFSUnicodeName const& name);
  LFSRef(FSRef const* parentRef, char const* name);
  LFSRef(FSRef const* parentRef, std::string const& name);
  LFSRef(LFSRef const& other, bool normalize);
  LFSRef(LFSRef const& other);
  LFSRef(LFSRef_data_t const& in_data);
  LFSRef(XFileName const& in_filename);
  virtual ~LFSRef();

  LFSRef& operator=(LFSRef const& other);
  LFSRef& operator=(char const* in_unix_path);
  LFSRef& operator=(FSRef const* theFileRef);
  LFSRef& operator=(LFSRef_data_t const& in_data);
  LFSRef& operator=(XFileName const& in_filename);

  bool Construct(char const* in_unix_path);
  bool Construct(FSRef const* theFileRef);
  bool Construct(FSRef const* parentRef, LHFSUnicodeName const& name);
  bool Construct(FSRef const* parentRef, char const* name);
  bool Construct(FSRef const* parentRef, std::string const& name);
  bool Construct(LFSRef const& other, bool normalize = false);
  bool Construct(LFSRef_data_t const& in_data);
  bool Construct(XFileName const& in_filename);

  bool GetData(LFSRef_data_t& out_data) const;

  // State.
  bool IsState(SInt32 s) const { return mState == s; }
  bool HasState(SInt32 s) const { return (mState & s) == s; }
  void AddState(SInt32 s) { mState |= s; }
  bool IsValid() const { return mState != 0; }
  bool IsEmpty() const { return mState == 0; }
  void Empty();
  bool Is_FSRef_Valid() const;
  bool Exists() const;
  bool HasLatentPath() const;
  OSErr GetCatalogInfo(FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName = nullptr, FSRef* parentRef = nullptr) const;

  operator FSRef const*() const { return &mFSRef; }
  operator FSRef const&() const { return mFSRef; }

  // Path and name.
  bool GetUnixPath(std::string& out_unix_path) const;
  bool GetUnixPath(LUnixPath& out_unix_path) const;
  bool GetJustName(std::string& out_justname) const;
  bool GetLatentPath(std::string& out_latent_path) const;
  bool GetLatentPath(LHFSUnicodeName& out_latent_path) const;
  bool HasExtension(char const* ext) const;
  bool operator==(LFSRef const& rhs) const;

  // Editing the name.
  bool GetLatentRef(LFSRef& theLatentRef) const;
  bool MakeRefWithLatentPath();
  bool ReplaceJustName(char const* in_justname);
  bool AddExtension(char const* in_extension);
  bool ReplaceExtension(char const* in_extension);
  bool ReplaceFolder(LFSRef const& in_replace_folder);
  bool GetParentFolder(LFSRef& out_parent_folder) const;
  bool GetNormalizedRef(FSRef& out_ref) const;
  bool GetNormalizedRef(LFSRef& out_ref) const;
  bool Normalize();

  // Kinds and existence (on a normalised copy).
  bool IsFile() const;
  bool IsFolder() const;
  bool FileExists() const;

  // Creating, deleting, renaming.
  bool CreateFile(FSCatalogInfoBitmap whichInfo, FSCatalogInfo const* catalogInfo);
  bool CreateFile() { return CreateFile(kFSCatInfoNone, nullptr); }
  bool CreateFile(unsigned long in_filetype, unsigned long in_creator);
  bool CreateFolder(FSCatalogInfoBitmap whichInfo, FSCatalogInfo const* catalogInfo);
  bool CreateFolder() { return CreateFolder(kFSCatInfoNone, nullptr); }
  bool RecreateFile(unsigned long in_filetype, unsigned long in_creator);
  bool Delete() const;
  bool DeleteFolder() const;
  bool DeleteFile() const;
  bool FileDelete();
  bool RenameFile(char const* in_filename);

  // Finder information and dates.
  bool GetFileTypeCreator(unsigned long& out_type, unsigned long& out_creator) const;
  bool SetFileTypeCreator(unsigned long in_filetype, unsigned long in_creator) const;
  bool GetDateTimeCreated(UTCDateTime& out_datetime_created) const;
  bool GetDateTimeModified(UTCDateTime& out_datetime_modified) const;

  // Other.
  std::FILE* fopen(char const* open_mode) const;
  bool FindExistingFolder(unsigned long folderType, short domain);
  bool Construct_cwd();
  bool chdir() const;
  bool GetQuickTimeDataRef(char**& outDataRef, unsigned long& outType) const;
  bool ResolveAlias(AliasHandle fromAlias, Boolean* pfWasChanged, LFSRef const* fromRoot);
  AliasHandle AsNewAliasHandle(FSRef const* fromFile) const;

  static char const* StateName(SInt32 state);
  // Formats into the caller's 4096-byte buffer.
  char const* CoreDebugGetContents(char const* label, char (&buffer)[4096], bool withHex) const;
  void CoreDebugPrint(char const* label) const;

  SInt32 mState;
  FSRef mFSRef;
  std::string mLatentPath;
};
