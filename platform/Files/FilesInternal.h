// Helpers shared by the file-service modules; not part of the platform interface.
#pragma once

#include "Files.h"

#include <string>

namespace files_internal {

OSErr ErrFromErrno(int e);

// UTF-16 name -> UTF-8 text; a lone surrogate or a NUL gives bdNamErr.
OSErr NameToUTF8(UniCharCount length, UniChar const* name, std::string& out);
// UTF-8 text -> UTF-16 name of at most 255 units.
OSErr UTF8ToName(std::string const& text, HFSUniStr255& out);

// A name usable as one path component: not empty, no "/", not "." or "..".
OSErr ChildPath(FSRef const* parentRef, UniCharCount length, UniChar const* name,
                std::string& outPath);

// The 32-byte Finder information record of the object at path, host byte order
// (all zero when the object has none).
OSErr ReadFinderInfo(char const* path, bool isDirectory, UInt8 (&info)[16], UInt8 (&ext)[16]);
OSErr WriteFinderInfo(char const* path, bool isDirectory, UInt8 const (&info)[16],
                      UInt8 const (&ext)[16]);

UTCDateTime DateFromTimespec(long long seconds, long nanoseconds);
void TimespecFromDate(UTCDateTime const& date, long long& seconds, long& nanoseconds);

}  // namespace files_internal
