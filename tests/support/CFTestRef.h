// Owns one platform object reference for the length of a test.
#pragma once

#include "CoreFoundation.h"

namespace tavelo_test {

struct Ref {
  explicit Ref(CFTypeRef r) : mRef(r) {}
  ~Ref() {
    if (mRef) CFRelease(mRef);
  }
  Ref(Ref const&) = delete;
  Ref& operator=(Ref const&) = delete;
  // Mutable types (bundles) need the const taken off.
  template <class T>
  T as() const {
    return static_cast<T>(const_cast<void*>(mRef));
  }
  CFTypeRef mRef;
};

}  // namespace tavelo_test
