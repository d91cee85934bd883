#include "LAlias.h"

#include "CoreMachDebugLog.h"
#include "Core_FSRef_inl.h"
#include "TCFString.h"

#include <cstddef>

LAliasBase::~LAliasBase() { Empty(); }

void LAliasBase::Empty() {
  DisposeAliasHandle(mhAlias);
  mhAlias = nullptr;
}

bool LAliasBase::Construct(AliasHandle inAlias) {
  if (inAlias != mhAlias) Empty();
  mhAlias = inAlias;
  return mhAlias != nullptr;
}

AliasHandle LAliasBase::GetAliasHandle() const {
  if (!mhAlias || !*mhAlias) return nullptr;
  return new AliasPtr(new AliasRecord(**mhAlias));
}

bool LAliasRef::Construct(FSRef const& inRef, FSRef const* fromFile) {
  Empty();
  mRef = FSRef{};
  mResolved = false;
  if (!CoreVerify(bool_FSRef_IsValid(inRef))) return false;
  AliasHandle hNewAlias = nullptr;
  OSErr result;
  if (fromFile)
    CoreMachDebugVerify(noErr==(result=::FSNewAlias(fromFile,&inRef, &hNewAlias)));
  else
    CoreMachDebugVerify(noErr==(result=::FSNewAliasMinimal(&inRef,&hNewAlias)));
  if (!CoreVerify((result==noErr) && LAliasBase::Construct(hNewAlias))) return false;
  mRef = inRef;
  mResolved = true;
  return true;
}

bool LAliasRef::IsResolved() const { return mResolved && bool_FSRef_IsValid(mRef); }

bool LAliasRef::Resolve() {
  unsigned char wasChanged = 0;
  return ResolveWasChanged(wasChanged);
}

bool LAliasRef::ResolveWasChanged(unsigned char& wasChanged) {
  wasChanged = 0;
  if (!mhAlias) return false;
  OSErr result;
  mResolved = CoreVerifyOSerr(result = ::FSResolveAlias(NULL,mhAlias,&mRef,&wasChanged)) == noErr;
  return mResolved;
}

bool LAliasRef::GetFileRef(FSRef& out_file_ref) {
  if (!IsResolved()) Resolve();
  if (!CoreVerify(IsResolved())) return false;
  out_file_ref = mRef;
  return true;
}

bool LAliasRef::GetUnixPath(std::string& s_out_unix_path) {
  FSRef file_ref_resolved{};
  if (!GetFileRef(file_ref_resolved)) return false;
  char path[1024];
  bool fOk;
  CoreVerify(fOk=bool_FSRef_GetUnixPath(file_ref_resolved,path));
  if (fOk) s_out_unix_path = path;
  return fOk;
}

bool LAliasRef::GetUnixPath(TCFString& s_out_unix_path) {
  std::string s_utf8_unix_path;
  if (!CoreVerify(GetUnixPath(s_utf8_unix_path))) return false;
  bool fOk;
  CoreVerify(fOk=s_out_unix_path.SetValue(s_utf8_unix_path.c_str()));
  return fOk;
}
