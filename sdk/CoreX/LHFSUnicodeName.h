// A file name as the file system takes it (up to 255 UTF-16 units), kept null-terminated
// and followed by a guard that shows when something wrote past its units.
#pragma once

#include "Files.h"

#include <string>

class LHFSUnicodeName : public HFSUniStr255 {
 public:
  using superclass_t = HFSUniStr255;

  // Lengths below this are clean; exactly this many units leave no room for the terminator.
  static constexpr int kMaxLength = 254;
  static constexpr UInt16 kGuard0 = 0xBAAD;
  static constexpr UInt16 kGuard1 = 0xDEAD;

  enum kSpecialName {
    kNoSpecialName = 0,
    kDataForkSpecialName = 256,
    kResourceForkSpecialName = 257,
  };

  LHFSUnicodeName();
  explicit LHFSUnicodeName(kSpecialName in_name);
  LHFSUnicodeName(HFSUniStr255 const& in_name);
  explicit LHFSUnicodeName(char const* in_file_name);
  explicit LHFSUnicodeName(std::string const& in_file_name);
  explicit LHFSUnicodeName(unsigned char const* in_mac_roman_file_name);
  LHFSUnicodeName(unsigned char const* in_pstring, short forScriptCode);
  explicit LHFSUnicodeName(unsigned short const* in_file_name);
  explicit LHFSUnicodeName(wchar_t const* in_file_name);
  LHFSUnicodeName(LHFSUnicodeName const&) = default;
  LHFSUnicodeName& operator=(LHFSUnicodeName const&) = default;
  LHFSUnicodeName& operator=(HFSUniStr255 const& in_name);

  bool Construct(kSpecialName in_name);
  bool Construct(HFSUniStr255 const& in_name);
  bool Construct(char const* in_file_name);                 // UTF-8
  bool Construct(std::string const& in_file_name);          // UTF-8
  bool Construct(unsigned char const* in_mac_roman_file_name);  // Pascal, Mac Roman
  bool Construct(unsigned char const* in_pstring, short forScriptCode);
  bool Construct(unsigned short const* in_file_name);       // UTF-16, zero-terminated
  bool Construct(wchar_t const* in_file_name);              // UTF-32, zero-terminated

  void Empty();
  void MarkOverflow();
  bool IsMarked() const;
  bool IsNullTerminated() const;
  bool IsValid() const;

  void set_length(short in_length);
  void NullTerminateIt();

  // The name as UTF-8 for a POSIX path.
  bool GetUnixPath(std::string& out_file_name) const;

  static bool ConvertFileName(std::string const& in_file_name, HFSUniStr255& out_file_name);
  static bool ConvertFileName(unsigned char const* in_pstring, short forScriptCode,
                              HFSUniStr255& out_file_name);

  // Same length and the same units (no case folding, no normalisation).
  static bool Identical(HFSUniStr255 const* a, HFSUniStr255 const* b);
  bool operator==(HFSUniStr255 const& other) const;

  UInt16 mGuard[2];

  static LHFSUnicodeName const sDataFork;
  static LHFSUnicodeName const sResourceFork;
};
