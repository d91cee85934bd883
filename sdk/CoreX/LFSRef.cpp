#include "LFSRef.h"

#include "CoreMachDebugLog.h"
#include "Core_FSRef_inl.h"
#include "LAlias.h"
#include "LFileFork.h"
#include "QFramework.h"
#include "TCFString.h"
#include "XFileName.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

namespace SystemFramework {
char* getcwd(char* buffer, std::size_t size) { return ::getcwd(buffer, size); }
int chdir(char const* path) { return ::chdir(path); }
}  // namespace SystemFramework

// Shared by every reference; references are used from one thread at a time.
char s_unix_path_buffer[4096];

// Walks the folder prefixes of the path; the deepest one that exists becomes the
// reference and the rest the latent path. The full path itself is never looked up.
bool bool_FSRef_MakeLatentFromPath(char const* in_unix_path, FSRef& out_ref, std::string& out_latent) {
  if (!in_unix_path || !*in_unix_path) return false;
  LUnixPath const unix_path(in_unix_path);
  std::string base;
  std::string name;
  bool found = false;
  Boolean out_is_directory = 0;
  for (bool more = unix_path.GetFirstPair(base, name); more; more = unix_path.GetNextPair(base, name)) {
    FSRef ref{};
    Boolean isDirectory = 0;
    // The prefix ends in a slash; looked up without it so that a file prefix is found too.
    std::string prefix = base;
    while (prefix.size() > 1 && prefix.back() == '/') prefix.pop_back();
    if (bool_FSRef_ConstructFromPath(ref, prefix.c_str(), &isDirectory)) {
      out_ref = ref;
      out_latent = name;
      out_is_directory = isDirectory;
      found = true;
    }
  }
  if (!found) {
    // The root has no pair of its own.
    if (LUnixPath::IsRootPath(in_unix_path) &&
        bool_FSRef_ConstructFromPath(out_ref, in_unix_path, &out_is_directory)) {
      out_latent.clear();
      return true;
    }
    return false;
  }
  return CoreVerify(out_is_directory);
}

}  // namespace

void LFSRef_data_t::Empty() { std::memset(static_cast<void*>(this), 0, sizeof(*this)); }

LFSRef::LFSRef() : mState(State_Invalid), mFSRef{} {}
LFSRef::LFSRef(char const* in_unix_path) : LFSRef() { Construct(in_unix_path); }
LFSRef::LFSRef(FSRef const* theFileRef) : LFSRef() { Construct(theFileRef); }
LFSRef::LFSRef(FSRef const* parentRef, LHFSUnicodeName const& name) : LFSRef() { Construct(parentRef, name); }
LFSRef::LFSRef(FSRef const* parentRef, char const* name) : LFSRef() { Construct(parentRef, name); }
LFSRef::LFSRef(FSRef const* parentRef, std::string const& name) : LFSRef() { Construct(parentRef, name); }
LFSRef::LFSRef(LFSRef const& other, bool normalize) : LFSRef() { Construct(other, normalize); }
LFSRef::LFSRef(LFSRef const& other) : LFSRef() { Construct(other, false); }
LFSRef::LFSRef(LFSRef_data_t const& in_data) : LFSRef() { Construct(in_data); }
LFSRef::LFSRef(XFileName const& in_filename) : LFSRef() { Construct(in_filename); }
LFSRef::~LFSRef() = default;

LFSRef& LFSRef::operator=(LFSRef const& other) {
  if (this != &other) Construct(other, false);
  return *this;
}
LFSRef& LFSRef::operator=(char const* in_unix_path) { Construct(in_unix_path); return *this; }
LFSRef& LFSRef::operator=(FSRef const* theFileRef) { Construct(theFileRef); return *this; }
LFSRef& LFSRef::operator=(LFSRef_data_t const& in_data) { Construct(in_data); return *this; }
LFSRef& LFSRef::operator=(XFileName const& in_filename) { Construct(in_filename); return *this; }

void LFSRef::Empty() {
  mFSRef = FSRef{};
  mLatentPath.clear();
  mState = State_Invalid;
}

// ---------------------------------------------------------------------------------------
// Construction

bool LFSRef::Construct(char const* in_unix_path) {
  Empty();
  bool const fOk = CoreVerify(bool_FSRef_MakeLatentFromPath(in_unix_path,mFSRef,mLatentPath));
  if (!fOk) {
    Empty();
    return false;
  }
  AddState(State_Exists);
  if (!mLatentPath.empty()) AddState(State_HasLatentPath);
  return true;
}

bool LFSRef::Construct(FSRef const* theFileRef) {
  Empty();
  if (!CoreVerify(theFileRef)) return false;
  if (!CoreVerify(bool_FSRef_IsValid(*theFileRef))) return false;
  mFSRef = *theFileRef;
  AddState(State_Exists);
  return true;
}

bool LFSRef::Construct(FSRef const* parentRef, LHFSUnicodeName const& name) {
  if (!CoreVerify(Construct(parentRef))) return false;
  LHFSUnicodeName const& unicode_subpath = name;
  bool fOk;
  // The parent stays even when the name cannot be converted.
  if (CoreVerify(fOk = unicode_subpath.GetUnixPath(mLatentPath)) && !mLatentPath.empty())
    AddState(State_HasLatentPath);
  return true;
}

bool LFSRef::Construct(FSRef const* parentRef, char const* name) {
  if (!CoreVerify(Construct(parentRef))) return false;
  if (name && *name) {
    mLatentPath = name;
    AddState(State_HasLatentPath);
  }
  return true;
}

bool LFSRef::Construct(FSRef const* parentRef, std::string const& name) {
  return Construct(parentRef, name.empty() ? static_cast<char const*>(nullptr) : name.c_str());
}

bool LFSRef::Construct(LFSRef const& other, bool normalize) {
  if (this != &other) {
    mState = other.mState;
    mFSRef = other.mFSRef;
    mLatentPath = other.mLatentPath;
  }
  return normalize ? Normalize() : true;
}

bool LFSRef::Construct(LFSRef_data_t const& in_data) {
  Empty();
  mState = in_data.state;
  mFSRef = in_data.reference;
  if (in_data.latent_path.length > 0) {
    LHFSUnicodeName unicodeName;
    if (CoreVerify(unicodeName.Construct(in_data.latent_path)))
      CoreMachDebugVerify(unicodeName.GetUnixPath(mLatentPath));
  }
  return mState != 0;
}

bool LFSRef::Construct(XFileName const& in_filename) {
  return Construct(static_cast<LFSRef const&>(in_filename), false);
}

bool LFSRef::GetData(LFSRef_data_t& out_data) const {
  out_data.Empty();
  out_data.state = UInt16(mState);
  out_data.reference = mFSRef;
  bool fOk = true;
  if (HasState(State_HasLatentPath))
    CoreVerify(fOk=LHFSUnicodeName::ConvertFileName(mLatentPath, out_data.latent_path));
  return fOk;
}

// ---------------------------------------------------------------------------------------
// State

bool LFSRef::Is_FSRef_Valid() const {
  return FSGetCatalogInfo(&mFSRef, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr) == noErr;
}

bool LFSRef::Exists() const { return IsState(State_Exists) && Is_FSRef_Valid(); }

bool LFSRef::HasLatentPath() const {
  if (!HasState(State_HasLatentPath)) return false;
  bool fOk;
  CoreVerify(fOk = (mLatentPath.length()>0));
  return fOk;
}

OSErr LFSRef::GetCatalogInfo(FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                             HFSUniStr255* outName, FSRef* parentRef) const {
  return FSGetCatalogInfo(&mFSRef, whichInfo, catalogInfo, outName, nullptr, parentRef);
}

// ---------------------------------------------------------------------------------------
// Path and name

bool LFSRef::GetUnixPath(std::string& out_unix_path) const {
  if (!Is_FSRef_Valid()) return false;
  if (!CoreVerify(HasState(State_Exists))) return false;
  char (&path_part)[4096] = s_unix_path_buffer;
  if (!CoreVerify(bool_FSRef_GetUnixPath(mFSRef, path_part))) return false;
  out_unix_path = path_part;
  if (HasState(State_HasLatentPath)) {
    if (out_unix_path.empty() || out_unix_path.back() != '/') out_unix_path += "/";
    out_unix_path += mLatentPath;
  }
  return true;
}

bool LFSRef::GetUnixPath(LUnixPath& out_unix_path) const {
  if (!Is_FSRef_Valid()) return false;
  std::string s_unix_path;
  if (!CoreVerify(GetUnixPath(s_unix_path))) return false;
  bool fOk;
  CoreVerify(fOk=out_unix_path.Construct(s_unix_path.c_str()));
  return fOk;
}

bool LFSRef::GetJustName(std::string& out_justname) const {
  if (!Is_FSRef_Valid()) return false;
  LUnixPath unix_path;
  if (!CoreVerify(GetUnixPath(unix_path))) return false;
  bool fOk;
  CoreVerify(fOk=unix_path.GetJustName(out_justname));
  return fOk;
}

bool LFSRef::GetLatentPath(std::string& out_latent_path) const {
  if (!CoreVerify(HasLatentPath())) return false;
  out_latent_path = mLatentPath;
  return true;
}

bool LFSRef::GetLatentPath(LHFSUnicodeName& out_latent_path) const {
  if (!CoreVerify(HasLatentPath())) return false;
  bool fOk;
  CoreVerify(fOk = out_latent_path.Construct(mLatentPath));
  return fOk;
}

bool LFSRef::HasExtension(char const* ext) const {
  LUnixPath unix_path;
  if (!CoreVerify(GetUnixPath(unix_path.mPath))) return false;
  return unix_path.HasExtension(ext);
}

bool LFSRef::operator==(LFSRef const& rhs) const {
  LFSRef lhs_normal(*this);
  LFSRef rhs_normal(rhs);
  if (!CoreVerify(lhs_normal.Normalize() && rhs_normal.Normalize())) return false;
  if (lhs_normal.mState != rhs_normal.mState) return false;
  std::string lhs_utf8_path;
  std::string rhs_utf8_path;
  if (!CoreVerify(lhs_normal.GetUnixPath(lhs_utf8_path) && rhs_normal.GetUnixPath(rhs_utf8_path)))
    return false;
  return lhs_utf8_path == rhs_utf8_path;
}

// ---------------------------------------------------------------------------------------
// Editing the name

bool LFSRef::GetLatentRef(LFSRef& theLatentRef) const {
  if (!CoreVerify(Is_FSRef_Valid())) return false;
  bool fOk = false;
  if (IsState(State_Exists)) {
    FSRef parentRef{};
    LHFSUnicodeName latent_name;
    if (CoreVerify(noErr==FSRef_GetParentAndRelativeName(mFSRef, parentRef, latent_name)))
      CoreVerify(fOk = theLatentRef.Construct(&parentRef,latent_name));
  } else if (IsState(State_ExistsWithLatentPath)) {
    CoreVerify(fOk = theLatentRef.Construct(*this,false));
  }
  return fOk;
}

bool LFSRef::MakeRefWithLatentPath() {
  LFSRef theLatentRef;
  if (!CoreVerify(GetLatentRef(theLatentRef))) return false;
  bool fOk;
  if (!CoreVerify(fOk = Construct(theLatentRef))) return false;
  return CoreVerify(HasLatentPath());
}

bool LFSRef::ReplaceJustName(char const* in_justname) {
  if (!CoreVerify((in_justname!=0) && (std::strlen(in_justname)>0))) return false;
  if (!HasLatentPath()) MakeRefWithLatentPath();
  if (!CoreVerify(HasLatentPath())) return false;
  // Every latent level goes, not only the last.
  mLatentPath = in_justname;
  return true;
}

bool LFSRef::AddExtension(char const* in_extension) {
  if (!CoreVerify(!IsFolder())) return false;
  LFSRef theLatentRef;
  if (!CoreVerify(GetLatentRef(theLatentRef))) return false;
  if (in_extension) theLatentRef.mLatentPath += in_extension;
  bool fOk;
  CoreVerify(fOk = Construct(theLatentRef));
  return fOk;
}

bool LFSRef::ReplaceExtension(char const* in_extension) {
  if (!CoreVerify(!IsFolder())) return false;
  LFSRef theLatentRef;
  if (!CoreVerify(GetLatentRef(theLatentRef))) return false;
  if (!CoreVerify(LUnixPath::ReplacePathExtension(theLatentRef.mLatentPath, in_extension))) return false;
  bool fOk;
  CoreVerify(fOk = Construct(theLatentRef));
  return fOk;
}

bool LFSRef::ReplaceFolder(LFSRef const& in_replace_folder) {
  LFSRef theLatentRef;
  if (!CoreVerify(GetLatentRef(theLatentRef))) return false;
  LFSRef theNormalizedFolder;
  if (!CoreVerify(in_replace_folder.GetNormalizedRef(theNormalizedFolder))) return false;
  bool fOk;
  CoreVerify(fOk = Construct(&theNormalizedFolder.mFSRef,theLatentRef.mLatentPath));
  return fOk;
}

bool LFSRef::GetParentFolder(LFSRef& out_parent_folder) const {
  LFSRef latentRef;
  if (!CoreVerify(GetLatentRef(latentRef))) return false;
  // The existing folder alone, without the latent name below it.
  latentRef.mLatentPath.clear();
  latentRef.mState = State_Exists;
  bool fOk;
  CoreVerify(fOk=latentRef.GetNormalizedRef(out_parent_folder));
  return fOk;
}

bool LFSRef::GetNormalizedRef(FSRef& out_ref) const {
  if (!Is_FSRef_Valid()) return false;
  LFSRef theNormalizedRef(*this);
  if (!CoreVerify(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  out_ref = theNormalizedRef.mFSRef;
  return true;
}

bool LFSRef::GetNormalizedRef(LFSRef& out_ref) const {
  FSRef normalized{};
  return GetNormalizedRef(normalized) && out_ref.Construct(&normalized);
}

bool LFSRef::Normalize() {
  if (!Is_FSRef_Valid()) return false;
  if (Exists()) return true;
  LHFSUnicodeName latent_path;
  if (!CoreVerify((mLatentPath.length()>0) && latent_path.Construct(mLatentPath.c_str()))) return false;
  FSRef normalizedRef{};
  if (FSMakeFSRefUnicode(&mFSRef, latent_path.length, latent_path.unicode, kTextEncodingUnknown,
                         &normalizedRef) != noErr)
    return false;  // not there yet
  bool fOk;
  CoreVerify(fOk = Construct(&normalizedRef));
  return fOk;
}

// ---------------------------------------------------------------------------------------
// Kinds

bool LFSRef::IsFile() const {
  LFSRef normal(*this);
  return normal.Normalize() && normal.Exists() && !bool_FSRef_IsDirectory(normal.mFSRef);
}

bool LFSRef::IsFolder() const {
  LFSRef normal(*this);
  return normal.Normalize() && normal.Exists() && bool_FSRef_IsDirectory(normal.mFSRef);
}

bool LFSRef::FileExists() const { return IsFile(); }

// ---------------------------------------------------------------------------------------
// Creating, deleting, renaming

bool LFSRef::CreateFile(FSCatalogInfoBitmap whichInfo, FSCatalogInfo const* catalogInfo) {
  if (!CoreVerify(HasState(State_Exists))) return false;
  if (!CoreVerify(HasState(State_HasLatentPath))) return false;
  LHFSUnicodeName unicode_name;
  if (!CoreVerify(unicode_name.Construct(mLatentPath))) return false;
  FSRef newFSRef{};
  OSErr const err = FSCreateFileUnicode(&mFSRef, unicode_name.length, unicode_name.unicode, whichInfo,
                                        catalogInfo, &newFSRef, nullptr);
  if (CoreVerifyOSerr(err)) return false;
  Empty();
  bool fOk;
  CoreVerify(fOk = Construct(&newFSRef));
  return fOk;
}

bool LFSRef::CreateFolder(FSCatalogInfoBitmap whichInfo, FSCatalogInfo const* catalogInfo) {
  if (!CoreVerify(HasState(State_Exists))) return false;
  if (!CoreVerify(HasState(State_HasLatentPath))) return false;
  LHFSUnicodeName unicode_name;
  if (!CoreVerify(unicode_name.Construct(mLatentPath))) return false;
  FSRef newFSRef{};
  OSErr const err = FSCreateDirectoryUnicode(&mFSRef, unicode_name.length, unicode_name.unicode,
                                             whichInfo, catalogInfo, &newFSRef, nullptr, nullptr);
  if (CoreVerifyOSerr(err)) return false;
  Empty();
  bool fOk;
  CoreVerify(fOk = Construct(&newFSRef));
  return fOk;
}

bool LFSRef::CreateFile(unsigned long in_filetype, unsigned long in_creator) {
  if (!CoreVerify(!FileExists())) return false;
  FSCatalogInfo new_file_info{};
  FileInfo finder{};
  finder.fileType = OSType(in_filetype);
  finder.fileCreator = OSType(in_creator);
  std::memcpy(new_file_info.finderInfo, &finder, sizeof finder);
  if (!CoreVerify(CreateFile(kFSCatInfoFinderInfo,&new_file_info))) return false;
  bool fOk;
  CoreVerify(fOk=SetFileTypeCreator(in_filetype,in_creator));
  return fOk;
}

bool LFSRef::RecreateFile(unsigned long in_filetype, unsigned long in_creator) {
  if (FileExists()) {
    LFSRef theNormalizedRef(*this);
    if (!CoreVerify(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
    LFileFork::DeleteDataFork(theNormalizedRef.mFSRef);
    LFileFork::DeleteResourceFork(theNormalizedRef.mFSRef);
    SetFileTypeCreator(in_filetype, in_creator);
    return true;
  }
  bool fOk;
  CoreVerify(fOk = CreateFile(in_filetype,in_creator));
  return fOk;
}

bool LFSRef::Delete() const {
  LFSRef theNormalizedRef(*this);
  if (!CoreVerify(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  bool fOk;
  CoreVerify(fOk=(noErr==::FSDeleteObject(theNormalizedRef)));
  return fOk;
}

bool LFSRef::DeleteFolder() const { return IsFolder() && Delete(); }
bool LFSRef::DeleteFile() const { return IsFile() && Delete(); }

bool LFSRef::FileDelete() {
  if (!IsFile()) return false;
  LFSRef theLatentRef;
  if (!CoreVerify(GetLatentRef(theLatentRef))) return false;
  if (!CoreVerify(DeleteFile())) return false;
  bool fOk;
  CoreVerify(fOk = Construct(theLatentRef));
  return fOk;
}

bool LFSRef::RenameFile(char const* in_filename) {
  if (!CoreVerify(Normalize())) return false;
  if (!CoreVerify(IsState(State_Exists))) return false;
  LHFSUnicodeName unicode_name;
  if (!in_filename || !unicode_name.Construct(in_filename)) return false;
  FSRef newFileRef{};
  if (!CoreVerify(bool_FSRef_RenameUnicode(mFSRef, unicode_name, &newFileRef))) return false;
  bool fOk;
  CoreVerify(fOk = Construct(&newFileRef));
  return fOk;
}

// ---------------------------------------------------------------------------------------
// Finder information and dates

bool LFSRef::GetFileTypeCreator(unsigned long& out_type, unsigned long& out_creator) const {
  if (!CoreVerify(FileExists())) return false;
  LFSRef theNormalizedRef(*this);
  if (!CoreVerify(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  FileInfo fInfo{};
  if (!CoreVerify(bool_FSRef_GetFinderInfo(theNormalizedRef, fInfo))) return false;
  out_type = fInfo.fileType;
  out_creator = fInfo.fileCreator;
  return true;
}

bool LFSRef::SetFileTypeCreator(unsigned long in_filetype, unsigned long in_creator) const {
  if (!CoreVerify(FileExists())) return false;
  LFSRef theNormalizedRef(*this);
  if (!CoreVerify(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  FileInfo fInfo{};
  if (!CoreVerify(bool_FSRef_GetFinderInfo(theNormalizedRef, fInfo))) return false;
  if (fInfo.fileType == OSType(in_filetype) && fInfo.fileCreator == OSType(in_creator)) return true;
  fInfo.fileType = OSType(in_filetype);
  fInfo.fileCreator = OSType(in_creator);
  bool fOk;
  CoreVerify(fOk=bool_FSRef_SetFinderInfo(theNormalizedRef,fInfo));
  return fOk;
}

bool LFSRef::GetDateTimeCreated(UTCDateTime& out_datetime_created) const {
  if (!CoreVerify(FileExists())) return false;
  LFSRef theNormalizedRef(*this);
  if (!CoreVerify(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  bool fOk;
  CoreVerify(fOk = (noErr==FSRef_GetDateTimeCreated(theNormalizedRef.mFSRef,out_datetime_created)));
  return fOk;
}

bool LFSRef::GetDateTimeModified(UTCDateTime& out_datetime_modified) const {
  if (!CoreVerify(FileExists())) return false;
  LFSRef theNormalizedRef(*this);
  if (!CoreVerify(theNormalizedRef.Normalize() && theNormalizedRef.IsState(State_Exists))) return false;
  bool fOk;
  CoreVerify(fOk = (noErr==FSRef_GetDateTimeModified(theNormalizedRef.mFSRef,out_datetime_modified)));
  return fOk;
}

// ---------------------------------------------------------------------------------------
// Other

std::FILE* LFSRef::fopen(char const* open_mode) const {
  std::string s_unix_path;
  if (!CoreVerify(GetUnixPath(s_unix_path))) return nullptr;
  std::FILE* fp;
  CoreMachDebugVerify(fp = std::fopen(s_unix_path.c_str(), open_mode));
  return fp;
}

bool LFSRef::FindExistingFolder(unsigned long folderType, short domain) {
  FSRef tempFolderRef{};
  OSErr const err = FSFindFolder(domain, OSType(folderType), kDontCreateFolder, &tempFolderRef);
  if (!CoreVerify(err==noErr)) {
    Empty();
    return false;
  }
  bool fOk;
  CoreVerify(fOk = Construct(&tempFolderRef));
  return fOk;
}

bool LFSRef::Construct_cwd() {
  char path_buffer[1025] = {};
  if (!CoreVerify(SystemFramework::getcwd(path_buffer, sizeof(path_buffer)))) {
    Empty();
    return false;
  }
  bool fOk;
  CoreVerify(fOk = Construct(path_buffer));
  return fOk;
}

bool LFSRef::chdir() const {
  if (!CoreVerify(IsFolder())) return false;
  std::string s_unix_path;
  if (!CoreVerify(GetUnixPath(s_unix_path))) return false;
  return CoreVerify(0==SystemFramework::chdir(s_unix_path.c_str()));
}

bool LFSRef::GetQuickTimeDataRef(char**& outDataRef, unsigned long& outType) const {
  outDataRef = nullptr;
  outType = 0;
  if (!Is_FSRef_Valid()) return false;
  if (!CoreVerify(HasState(State_Exists))) return false;
  OSType outDataRefType = 0;
  bool fOk;
  if (IsState(State_Exists)) {
    CoreVerify(fOk = (noErr==::QFramework::NewDataReferenceFromFSRef(&mFSRef, 0, &outDataRef, &outDataRefType)));
  } else {
    TCFString latent_name(mLatentPath.c_str());
    CFStringRef StringFileName = latent_name.Get();
    CoreVerify(fOk = (noErr==::QFramework::NewDataReferenceFromFSRefCFString(&mFSRef, CFStringRef(StringFileName), 0, &outDataRef, &outDataRefType)));
  }
  outType = outDataRefType;
  return fOk;
}

bool LFSRef::ResolveAlias(AliasHandle fromAlias, Boolean* pfWasChanged, LFSRef const* fromRoot) {
  FSRef theNormalizedRootRef{};
  FSRef const* theNormalizedRootRefPtr = nullptr;
  // An unusable root is dropped: the alias then resolves on its own.
  if (fromRoot && CoreVerify(fromRoot->GetNormalizedRef(theNormalizedRootRef)))
    theNormalizedRootRefPtr = &theNormalizedRootRef;
  FSRef theResolvedAliasRef{};
  if (!CoreVerify(noErr==::FSResolveAlias(theNormalizedRootRefPtr,fromAlias,&theResolvedAliasRef,pfWasChanged))) {
    Empty();
    return false;
  }
  bool fOk;
  CoreVerify(fOk = Construct(&theResolvedAliasRef));
  return fOk;
}

AliasHandle LFSRef::AsNewAliasHandle(FSRef const* fromFile) const {
  FSRef theNormalizedRef{};
  if (!GetNormalizedRef(theNormalizedRef)) return nullptr;
  LAliasRef theAliasFromRef;
  if (!CoreVerify(theAliasFromRef.Construct(theNormalizedRef,fromFile))) return nullptr;
  AliasHandle result;
  CoreMachDebugVerify(result = theAliasFromRef.GetAliasHandle());
  return result;
}
