// One folder that receives numbered files, and the first free name-with-number in it.
#pragma once

#include "CoreMachDebugLog.h"
#include "Files.h"

// Default folders for quick saves.
enum folder_enum_t : int {
  kFolderEnum_Pictures = 0,
  kFolderEnum_Desktop = 1,
  kFolderEnum_DesktopPictures = 2,
  kFolderEnum_Documents = 3,
  kFolderEnum_Movies = 4,
};

class CoreNumberedFilename {
 public:
  CoreNumberedFilename() { Empty(); }
  explicit CoreNumberedFilename(folder_enum_t inFolderEnum);
  ~CoreNumberedFilename() {}

  // The find-folder type of each value; any other value is the Desktop.
  static unsigned long LocationFromEnum(folder_enum_t inFolderEnum);

  void Empty();
  bool IsConstructed() const { return sUserDefaultFolderPath[0] != 0; }

  bool Construct(folder_enum_t inFolderEnum);
  // The folder of that find-folder type in the user domain; it must exist.
  bool Construct(unsigned long inFolderLocation);
  // An existing folder by its POSIX path.
  bool Construct(char const* inFolderUnixPath);

  char const* DefaultFolderPath() const {
    CoreMachDebugVerify(IsConstructed());
    return sUserDefaultFolderPath;
  }

  // The first "<folder>/<format printed with n>.<extension>" that names nothing, for n from
  // 0 to 999; false with an empty path when all are taken.
  bool FindFirstAvailableNamedPathNumber(char (&outPath)[1024], char const* inNameFormatString,
                                         char const* inExtension, int& outNumber) const;
  bool FindFirstAvailableNamedPath(char (&outPath)[1024], char const* inNameFormatString,
                                   char const* inExtension) const;
  bool FindFirstAvailableNamedFileNumber(char const* inNameFormatString, char const* inExtension,
                                         int& outNumber) const;

  FSRef sUserDefaultFolder;
  char sUserDefaultFolderPath[1024];
};
