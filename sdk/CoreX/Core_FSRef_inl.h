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
