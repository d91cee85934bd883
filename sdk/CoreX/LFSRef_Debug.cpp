// The reference's debug dump: its state by name and its contents as text, for the log.
#include "LFSRef.h"

#include "CoreCString.h"
#include "CoreMachDebugLog.h"

#include <cstdio>
#include <memory>

char const* LFSRef::StateName(SInt32 state) {
  switch (state) {
    case State_Invalid: return "State_Invalid '0'";
    case State_Exists: return "State_Exists '1'";
    case State_HasLatentPath: return "State_HasLatentPath '2'";
    case State_ExistsWithLatentPath: return "State_ExistsWithLatentPath '3'";
    default: return "????";
  }
}

char const* LFSRef::CoreDebugGetContents(char const* label, char (&buffer)[4096], bool withHex) const {
  char ref_path[1024] = {};
  bool const hasPath = FSRefMakePath(&mFSRef, reinterpret_cast<UInt8*>(ref_path), sizeof ref_path) == noErr;
  CoreCString hex;
  char const* hexText = "";
  if (withHex) hexText = hex.EncodeHexString(&mFSRef, sizeof mFSRef, 0, 0);
  std::snprintf(buffer, sizeof buffer,
                "%s\n LFSRef contents = { mState:%s\nmLatentPath:%s\nmFSRef:%s\nmFSRef:%s \n}\n",
                label ? label : "", StateName(mState), mLatentPath.c_str(),
                hasPath ? ref_path : "(empty)", hexText ? hexText : "");
  return buffer;
}

void LFSRef::CoreDebugPrint(char const* label) const {
  auto buffer = std::make_unique<char[]>(4097);
  CoreDebugGetContents(label, *reinterpret_cast<char(*)[4096]>(buffer.get()), false);
  CoreMachDebugLog("%s", buffer.get());
}
