// Reference counting, type registry and descriptions common to every platform object.
#include "CFObject.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>

namespace {

struct TypeRegistry {
  std::mutex mLock;
  std::deque<std::string> mNames;  // id = index + 1; a deque keeps the names in place
};

// Never destroyed: objects may be released from other static destructors at exit.
TypeRegistry& Registry() {
  static TypeRegistry& registry = *new TypeRegistry;
  return registry;
}

CFStringRef StringFromUTF8(std::string const& text) {
  return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(text.data()),
                                 CFIndex(text.size()), kCFStringEncodingUTF8, false);
}

}  // namespace

CFTypeID CFObjectRegisterType(char const* className) {
  TypeRegistry& registry = Registry();
  std::lock_guard<std::mutex> lock(registry.mLock);
  registry.mNames.emplace_back(className ? className : "");
  return CFTypeID(registry.mNames.size());
}

char const* CFObjectTypeName(CFTypeID typeID) {
  TypeRegistry& registry = Registry();
  std::lock_guard<std::mutex> lock(registry.mLock);
  if (typeID == 0 || typeID > registry.mNames.size()) return nullptr;
  return registry.mNames[typeID - 1].c_str();
}

std::string CFObject::Describe() const {
  char text[64];
  char const* name = CFObjectTypeName(mTypeID);
  std::snprintf(text, sizeof text, "<%s %p>", name ? name : "CFType", static_cast<void const*>(this));
  return text;
}

CFTypeRef CFRetain(CFTypeRef object) {
  if (CFObject* o = CFObjectFromRef(object); o && !o->mImmortal)
    o->mRetainCount.fetch_add(1, std::memory_order_relaxed);
  return object;
}

void CFRelease(CFTypeRef object) {
  CFObject* o = CFObjectFromRef(object);
  if (!o || o->mImmortal) return;
  if (o->mRetainCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete o;
}

CFIndex CFGetRetainCount(CFTypeRef object) {
  CFObject const* o = CFObjectFromRef(object);
  if (!o) return 0;
  return o->mImmortal ? CFIndex(LONG_MAX) : o->mRetainCount.load(std::memory_order_relaxed);
}

CFTypeID CFGetTypeID(CFTypeRef object) {
  CFObject const* o = CFObjectFromRef(object);
  return o ? o->mTypeID : 0;
}

Boolean CFEqual(CFTypeRef a, CFTypeRef b) {
  if (a == b) return a != nullptr;
  CFObject const* oa = CFObjectFromRef(a);
  CFObject const* ob = CFObjectFromRef(b);
  if (!oa || !ob || oa->mTypeID != ob->mTypeID) return false;
  return oa->Equals(*ob);
}

CFStringRef CFCopyDescription(CFTypeRef object) {
  CFObject const* o = CFObjectFromRef(object);
  if (!o) return nullptr;
  return StringFromUTF8(o->Describe());
}

CFStringRef CFCopyTypeIDDescription(CFTypeID typeID) {
  char const* name = CFObjectTypeName(typeID);
  return name ? StringFromUTF8(name) : nullptr;
}
