// Opening a file named by a reference and stamping its type and creator. Note the order:
// creator first, then type.
#pragma once

#include <cstdio>

class LFSRef;
class XFileName;

std::FILE* fopen(LFSRef const& ref, char const* open_mode, unsigned long creator, unsigned long file_type);
std::FILE* fopen(XFileName const& filename, char const* open_mode, unsigned long creator,
                 unsigned long file_type);
// Never opens a resource fork: *outResFile is set to -1 (and that is logged).
std::FILE* MAC_fopen(LFSRef const& ref, char const* open_mode, unsigned long creator,
                     unsigned long file_type, short* outResFile = nullptr);
std::FILE* MAC_fopen(XFileName const& filename, char const* open_mode, unsigned long creator,
                     unsigned long file_type, short* outResFile = nullptr);
