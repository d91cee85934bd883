// Aliases as identity + path records, resolved by identity first, then by path.
#include "Files.h"
#include "FilesInternal.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

std::string FolderOf(std::string const& path) {
  std::size_t const slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0) return "/";
  return path.substr(0, slash);
}

// The path from folder `from` to `to`, both canonical.
std::string RelativePath(std::string const& from, std::string const& to) {
  auto split = [](std::string const& p) {
    std::vector<std::string> parts;
    std::size_t at = 1;
    while (at <= p.size()) {
      std::size_t const next = p.find('/', at);
      std::string const part = p.substr(at, next == std::string::npos ? std::string::npos : next - at);
      if (!part.empty()) parts.push_back(part);
      if (next == std::string::npos) break;
      at = next + 1;
    }
    return parts;
  };
  std::vector<std::string> const a = split(from);
  std::vector<std::string> const b = split(to);
  std::size_t common = 0;
  while (common < a.size() && common < b.size() && a[common] == b[common]) ++common;
  std::string out;
  for (std::size_t i = common; i < a.size(); ++i) out += "../";
  for (std::size_t i = common; i < b.size(); ++i) out += b[i] + (i + 1 < b.size() ? "/" : "");
  return out;
}

bool SameIdentity(std::string const& path, AliasRecord const& record) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && UInt64(st.st_dev) == record.device &&
         UInt64(st.st_ino) == record.inode;
}

// An item of `folder` with the recorded identity: the target renamed in place.
bool FindByIdentity(std::string const& folder, AliasRecord const& record, std::string& out) {
  DIR* dir = ::opendir(folder.c_str());
  if (!dir) return false;
  bool found = false;
  while (dirent* entry = ::readdir(dir)) {
    if (UInt64(entry->d_ino) != record.inode) continue;
    std::string const name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::string const candidate = (folder == "/" ? "" : folder) + "/" + name;
    if (SameIdentity(candidate, record)) {
      out = candidate;
      found = true;
      break;
    }
  }
  ::closedir(dir);
  return found;
}

OSErr MakeAlias(FSRef const* fromFile, FSRef const* target, AliasHandle* inAlias) {
  if (!target || !inAlias) return paramErr;
  *inAlias = nullptr;
  if (OSErr const err = FSRefValidate(target)) return err;
  if (fromFile) {
    if (OSErr const err = FSRefValidate(fromFile)) return err;
  }
  auto* record = new AliasRecord{};
  record->aliasSize = sizeof(AliasRecord);
  record->device = target->device;
  record->inode = target->inode;
  std::memcpy(record->path, target->path, sizeof(record->path));
  if (fromFile) {
    std::string const relative = RelativePath(FolderOf(fromFile->path), target->path);
    if (relative.size() >= sizeof(record->relativePath)) {
      delete record;
      return errFSNameTooLong;
    }
    std::memcpy(record->relativePath, relative.c_str(), relative.size() + 1);
  }
  *inAlias = new AliasPtr(record);
  return noErr;
}

}  // namespace

OSErr FSNewAlias(FSRef const* fromFile, FSRef const* target, AliasHandle* inAlias) {
  return MakeAlias(fromFile, target, inAlias);
}

OSErr FSNewAliasMinimal(FSRef const* target, AliasHandle* inAlias) {
  return MakeAlias(nullptr, target, inAlias);
}

OSErr FSResolveAlias(FSRef const* fromFile, AliasHandle alias, FSRef* target, Boolean* wasChanged) {
  if (!alias || !*alias || !target) return paramErr;
  if (wasChanged) *wasChanged = 0;
  AliasRecord& record = **alias;
  if (fromFile) {
    if (OSErr const err = FSRefValidate(fromFile)) return err;
  }
  std::string const recorded(record.path, strnlen(record.path, sizeof(record.path)));
  std::string relativeTarget;
  if (fromFile && record.relativePath[0]) {
    relativeTarget = FolderOf(fromFile->path) + "/" +
                     std::string(record.relativePath, strnlen(record.relativePath, sizeof(record.relativePath)));
  }
  std::string found;
  bool changed = false;
  if (SameIdentity(recorded, record)) {
    found = recorded;
  } else if (!relativeTarget.empty() && SameIdentity(relativeTarget, record)) {
    found = relativeTarget;
    changed = true;
  } else if (FindByIdentity(FolderOf(recorded), record, found) ||
             (!relativeTarget.empty() && FindByIdentity(FolderOf(relativeTarget), record, found))) {
    changed = true;
  } else {
    // The identity is gone: whatever now carries the name stands in for it.
    struct stat st {};
    if (!relativeTarget.empty() && ::stat(relativeTarget.c_str(), &st) == 0) found = relativeTarget;
    else if (::stat(recorded.c_str(), &st) == 0) found = recorded;
    else return fnfErr;
    changed = true;
  }
  FSRef resolved{};
  OSStatus const err = FSPathMakeRef(reinterpret_cast<UInt8 const*>(found.c_str()), &resolved, nullptr);
  if (err != noErr) return static_cast<OSErr>(err);
  if (changed) {
    record.device = resolved.device;
    record.inode = resolved.inode;
    std::memcpy(record.path, resolved.path, sizeof(record.path));
    if (fromFile && record.relativePath[0]) {
      std::string const relative = RelativePath(FolderOf(fromFile->path), resolved.path);
      if (relative.size() < sizeof(record.relativePath))
        std::memcpy(record.relativePath, relative.c_str(), relative.size() + 1);
    }
    if (wasChanged) *wasChanged = 1;
  }
  *target = resolved;
  return noErr;
}

void DisposeAliasHandle(AliasHandle alias) {
  if (!alias) return;
  delete *alias;
  delete alias;
}
