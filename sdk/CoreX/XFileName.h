// The platform-free face of a file name used by the application layer: one LFSRef.
#pragma once

#include "LFSRef.h"

#include <cstdio>
#include <string>

class XFileName {
 public:
  XFileName() = default;
  explicit XFileName(char const* in_unix_path) { Construct(in_unix_path); }
  XFileName(LFSRef const& in_ref) { Construct(in_ref); }
  XFileName(XFileName const& other) = default;
  XFileName& operator=(XFileName const& other) = default;
  virtual ~XFileName() = default;

  operator LFSRef const&() const { return m_filename; }

  bool Construct(char const* in_unix_path);
  bool Construct(FSRef const* copyOf);
  bool Construct(FSRef const* parent, char const* relative_path);
  bool Construct(LFSRef const& copyOf);
  bool Construct(XFileName const& copyOf);

  // A POSIX path can be made (classic file specs are not provided here).
  bool IsConstructed() const;
  void Empty() { m_filename.Empty(); }
  bool FileExists() const { return m_filename.FileExists(); }
  bool GetUnixPath(std::string& out_unix_path) const { return m_filename.GetUnixPath(out_unix_path); }
  bool GetDateTimeCreated(UTCDateTime& out) const { return m_filename.GetDateTimeCreated(out); }
  bool GetDateTimeModified(UTCDateTime& out) const { return m_filename.GetDateTimeModified(out); }

  bool GetFileTypeCreator(unsigned long& out_type, unsigned long& out_code) const;
  bool SetFileTypeCreator(unsigned long in_type, unsigned long in_code) const;
  bool ReplaceFolder(XFileName const& new_folder);
  bool ReplaceJustName(char const* in_filename);
  bool ReplaceExtension(char const* in_extension);
  bool AddExtension(char const* in_extension);
  bool GetParentFolder(XFileName& out_folder) const;
  bool GetJustName(std::string& s_unix_name) const;
  bool RenameFile(char const* in_filename) const;
  bool DeleteFile() const;
  bool GetSystemRepresentation(LUnixPath& out_unix_path) const;
  bool GetSystemRepresentation(LFSRef& out_file_ref) const;

  // Modification dates; equal dates are neither.
  bool IsOlderThan(XFileName const& rhs) const;
  bool IsNewerThan(XFileName const& rhs) const;

  // Opens the file and stamps it 'BINA' / 'BINA'.
  std::FILE* fopen(char const* open_mode) const;

  LFSRef m_filename;

 private:
  // -1, 0 or 1 as our modification date is older, equal or newer; false when unreadable.
  bool CompareModified(XFileName const& rhs, int& order) const;
};
