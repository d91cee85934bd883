#include "CoreNumberedFilename.h"

#include "Core_FSRef_inl.h"

#include <cstdio>
#include <cstring>

CoreNumberedFilename::CoreNumberedFilename(folder_enum_t inFolderEnum) {
  Empty();
  CoreMachDebugVerify(Construct(inFolderEnum));
}

unsigned long CoreNumberedFilename::LocationFromEnum(folder_enum_t inFolderEnum) {
  switch (inFolderEnum) {
    case kFolderEnum_Pictures: return kPictureDocumentsFolderType;
    case kFolderEnum_Desktop: return kDesktopFolderType;
    case kFolderEnum_DesktopPictures: return kDesktopPicturesFolderType;
    case kFolderEnum_Documents: return kDocumentsFolderType;
    case kFolderEnum_Movies: return kMovieDocumentsFolderType;
    default: return kDesktopFolderType;
  }
}

void CoreNumberedFilename::Empty() {
  std::memset(&sUserDefaultFolder, 0, sizeof sUserDefaultFolder);
  std::memset(sUserDefaultFolderPath, 0, sizeof sUserDefaultFolderPath);
}

bool CoreNumberedFilename::Construct(folder_enum_t inFolderEnum) {
  bool fOk;
  fOk = CoreVerify(Construct(LocationFromEnum(inFolderEnum)));
  return fOk;
}

bool CoreNumberedFilename::Construct(unsigned long inFolderLocation) {
  short const domain = kUserDomain;
  if (CoreVerifyOSerr(FSFindFolder(domain, inFolderLocation, kDontCreateFolder, &sUserDefaultFolder)))
    return false;
  bool fOk;
  CoreVerify(fOk=bool_FSRef_GetUnixPath(sUserDefaultFolder, sUserDefaultFolderPath));
  return fOk;
}

bool CoreNumberedFilename::Construct(char const* inFolderUnixPath) {
  if (!CoreVerify(bool_FSRef_ConstructFromPath(sUserDefaultFolder, inFolderUnixPath))) return false;
  bool fOk;
  CoreVerify(fOk=bool_FSRef_GetUnixPath(sUserDefaultFolder, sUserDefaultFolderPath));
  return fOk;
}

bool CoreNumberedFilename::FindFirstAvailableNamedPathNumber(char (&outPath)[1024],
                                                             char const* inNameFormatString,
                                                             char const* inExtension,
                                                             int& outNumber) const {
  std::memset(outPath, 0, sizeof outPath);
  outNumber = 0;
  // The folder must still be there; reported as not constructed.
  bool const usable = IsConstructed() && FSGetCatalogInfo(&sUserDefaultFolder, kFSCatInfoNone, nullptr,
                                                          nullptr, nullptr, nullptr) == noErr;
  if (!_CoreMachDebugCheck(usable, __PRETTY_FUNCTION__, __FILE__, __LINE__, " code : IsConstructed()"))
    return false;
  if (!inNameFormatString || !inExtension) return false;
  for (int n = 0; n <= 999; ++n) {
    char name[1024];
    char candidate[1024];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(name, sizeof name, inNameFormatString, n);
#pragma GCC diagnostic pop
    int const length = std::snprintf(candidate, sizeof candidate, "%s/%s.%s", sUserDefaultFolderPath,
                                     name, inExtension);
    if (length < 0 || std::size_t(length) >= sizeof candidate) return false;
    FSRef existing{};
    if (!bool_FSRef_ConstructFromPath(existing, candidate)) {
      std::memcpy(outPath, candidate, sizeof outPath);
      outNumber = n;
      return true;
    }
  }
  return false;
}

bool CoreNumberedFilename::FindFirstAvailableNamedPath(char (&outPath)[1024], char const* inNameFormatString,
                                                       char const* inExtension) const {
  int number = 0;
  return FindFirstAvailableNamedPathNumber(outPath, inNameFormatString, inExtension, number);
}

bool CoreNumberedFilename::FindFirstAvailableNamedFileNumber(char const* inNameFormatString,
                                                             char const* inExtension, int& outNumber) const {
  char scratch[1024];
  return FindFirstAvailableNamedPathNumber(scratch, inNameFormatString, inExtension, outNumber);
}
