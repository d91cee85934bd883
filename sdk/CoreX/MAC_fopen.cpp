#include "MAC_fopen.h"

#include "CoreMachDebugLog.h"
#include "LFSRef.h"
#include "XFileName.h"

std::FILE* fopen(LFSRef const& ref, char const* open_mode, unsigned long creator, unsigned long file_type) {
  std::FILE* file = ref.fopen(open_mode);
  if (file) CoreMachDebugVerify(ref.SetFileTypeCreator(file_type,creator));
  return file;
}

std::FILE* fopen(XFileName const& filename, char const* open_mode, unsigned long creator,
                 unsigned long file_type) {
  LFSRef theFileRef;
  if (!CoreVerify(filename.GetSystemRepresentation(theFileRef))) return nullptr;
  return fopen(theFileRef, open_mode, creator, file_type);
}

std::FILE* MAC_fopen(LFSRef const& ref, char const* open_mode, unsigned long creator,
                     unsigned long file_type, short* outResFile) {
  if (outResFile) {
    *outResFile = -1;
    CoreMachDebugVerify(*outResFile!=-1);
  }
  std::FILE* file = ref.fopen(open_mode);
  if (file) CoreMachDebugVerify(ref.SetFileTypeCreator(file_type,creator));
  return file;
}

std::FILE* MAC_fopen(XFileName const& filename, char const* open_mode, unsigned long creator,
                     unsigned long file_type, short* outResFile) {
  LFSRef theFileRef;
  if (!CoreVerify(filename.GetSystemRepresentation(theFileRef))) return nullptr;
  return MAC_fopen(theFileRef, open_mode, creator, file_type, outResFile);
}
