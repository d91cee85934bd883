// The object header every platform object starts with, and the registry of type ids.
// Internal to platform/CoreFoundation: a new object type derives from CFObject, gets its id
// once from CFObjectRegisterType("CFThing"), and hands its objects out through the public
// opaque pointer type. The public refs point at the CFObject base (single inheritance, the
// base first), so CFRetain / CFRelease / CFGetTypeID / CFCopyDescription work on every type.
#pragma once

#include "CoreFoundation.h"

#include <atomic>
#include <string>

struct CFObject {
  explicit CFObject(CFTypeID typeID) : mTypeID(typeID) {}
  CFObject(CFObject const&) = delete;
  CFObject& operator=(CFObject const&) = delete;
  // Called once, by the last CFRelease.
  virtual ~CFObject() = default;
  // The text CFCopyDescription returns; the default names the type and the address.
  virtual std::string Describe() const;
  // CFEqual between two objects of the same type id; identity by default.
  virtual bool Equals(CFObject const& other) const { return this == &other; }

  CFTypeID const mTypeID;
  std::atomic<CFIndex> mRetainCount{1};
  // Constants (CFSTR) live for the whole process: retain and release leave them alone.
  bool mImmortal = false;
};

// A new type id (never 0) for the class name; CFCopyTypeIDDescription returns the name.
// Call once per type, e.g. from a function-local static in CFThingGetTypeID().
CFTypeID CFObjectRegisterType(char const* className);
// The registered class name, or nullptr for an unknown id.
char const* CFObjectTypeName(CFTypeID typeID);

inline CFObject* CFObjectFromRef(CFTypeRef ref) {
  return static_cast<CFObject*>(const_cast<void*>(ref));
}

// The object behind a ref when it has the given type id, else nullptr.
template <class T>
T* CFObjectCast(CFTypeRef ref, CFTypeID typeID) {
  CFObject* object = CFObjectFromRef(ref);
  return object && object->mTypeID == typeID ? static_cast<T*>(object) : nullptr;
}
