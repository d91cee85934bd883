#include "XFileName.h"

#include "CoreMachDebugLog.h"
#include "Core_FSRef_inl.h"
#include "MAC_fopen.h"

namespace {
// Plain binary data, as type and as creator.
constexpr unsigned long kBINA = FOUR_CHAR_CODE("BINA");
}  // namespace

bool XFileName::Construct(char const* in_unix_path) {
  if (!CoreVerify(m_filename.Construct(in_unix_path))) return false;
  bool fOk;
  CoreVerify(fOk=IsConstructed());
  return fOk;
}

bool XFileName::Construct(FSRef const* copyOf) {
  if (!CoreVerify(copyOf)) {
    m_filename.Empty();
    return false;
  }
  return m_filename.Construct(copyOf) && IsConstructed();
}

bool XFileName::Construct(FSRef const* parent, char const* relative_path) {
  LHFSUnicodeName relative;
  if (!CoreVerify(relative_path && relative.Construct(relative_path))) {
    m_filename.Empty();
    return false;
  }
  FSRef out_Ref{};
  OSErr result;
  if (!CoreVerify(noErr==(result = FSRef_ConstructFromParentAndRelativeName(out_Ref, parent, relative)))) {
    m_filename.Empty();
    return false;
  }
  return Construct(&out_Ref);
}

bool XFileName::Construct(LFSRef const& copyOf) {
  return m_filename.Construct(copyOf, false) && IsConstructed();
}

bool XFileName::Construct(XFileName const& copyOf) { return Construct(copyOf.m_filename); }

bool XFileName::IsConstructed() const {
  std::string path;
  return m_filename.IsValid() && m_filename.GetUnixPath(path);
}

bool XFileName::GetFileTypeCreator(unsigned long& out_type, unsigned long& out_code) const {
  bool fOk;
  CoreVerify(fOk=m_filename.GetFileTypeCreator(out_type, out_code));
  return fOk;
}

bool XFileName::SetFileTypeCreator(unsigned long in_type, unsigned long in_code) const {
  bool fOk;
  CoreVerify(fOk=m_filename.SetFileTypeCreator(in_type, in_code));
  return fOk;
}

bool XFileName::ReplaceFolder(XFileName const& new_folder) {
  bool fOk;
  CoreVerify(fOk=m_filename.ReplaceFolder(new_folder.m_filename));
  return fOk;
}

bool XFileName::ReplaceJustName(char const* in_filename) {
  bool fOk;
  CoreVerify(fOk=m_filename.ReplaceJustName(in_filename));
  return fOk;
}

bool XFileName::ReplaceExtension(char const* in_extension) {
  bool fOk;
  CoreVerify(fOk=m_filename.ReplaceExtension(in_extension));
  return fOk;
}

bool XFileName::AddExtension(char const* in_extension) {
  bool fOk;
  CoreVerify(fOk=m_filename.AddExtension(in_extension));
  return fOk;
}

bool XFileName::GetParentFolder(XFileName& out_folder) const {
  bool fOk;
  CoreVerify(fOk = m_filename.GetParentFolder(out_folder.m_filename));
  return fOk;
}

bool XFileName::GetJustName(std::string& s_unix_name) const {
  bool fOk;
  CoreVerify(fOk = m_filename.GetJustName(s_unix_name));
  return fOk;
}

bool XFileName::RenameFile(char const* in_filename) const {
  LFSRef non_const(m_filename);
  bool fOk;
  CoreVerify(fOk=non_const.RenameFile(in_filename));
  return fOk;
}

bool XFileName::DeleteFile() const {
  LFSRef non_const(m_filename);
  bool fOk;
  CoreVerify(fOk=non_const.FileDelete());
  return fOk;
}

bool XFileName::GetSystemRepresentation(LUnixPath& out_unix_path) const {
  bool fOk;
  CoreVerify(fOk = m_filename.GetUnixPath(out_unix_path));
  return fOk;
}

bool XFileName::GetSystemRepresentation(LFSRef& out_file_ref) const {
  out_file_ref.Construct(m_filename, false);
  out_file_ref.Normalize();
  bool fOk;
  CoreVerify(fOk = out_file_ref.IsValid());
  return fOk;
}

bool XFileName::CompareModified(XFileName const& rhs, int& order) const {
  UTCDateTime our_time{};
  UTCDateTime their_time{};
  if (!CoreVerify(GetDateTimeModified(our_time) && rhs.GetDateTimeModified(their_time))) return false;
  order = 0;
  if (our_time.highSeconds != their_time.highSeconds) order = our_time.highSeconds < their_time.highSeconds ? -1 : 1;
  else if (our_time.lowSeconds != their_time.lowSeconds) order = our_time.lowSeconds < their_time.lowSeconds ? -1 : 1;
  else if (our_time.fraction != their_time.fraction) order = our_time.fraction < their_time.fraction ? -1 : 1;
  return true;
}

bool XFileName::IsOlderThan(XFileName const& rhs) const {
  int order = 0;
  return CompareModified(rhs, order) && order < 0;
}

bool XFileName::IsNewerThan(XFileName const& rhs) const {
  int order = 0;
  return CompareModified(rhs, order) && order > 0;
}

std::FILE* XFileName::fopen(char const* open_mode) const {
  // The reference stands in for a classic file spec.
  LFSRef theSpec;
  if (!CoreVerify(GetSystemRepresentation(theSpec))) return nullptr;
  std::FILE* file;
  CoreMachDebugVerify(file = MAC_fopen(theSpec,open_mode,kBINA,kBINA));
  return file;
}
