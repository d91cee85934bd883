// Numbers: a 64-bit integer or a 64-bit float under the canonical type it was made with.
#include "CFObject.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

namespace {

CFTypeID NumberTypeID() {
  static CFTypeID const typeID = CFObjectRegisterType("CFNumber");
  return typeID;
}

// The C types collapse onto the sized ones of this (LP64) machine, as the platform does.
CFNumberType Canonical(CFNumberType type) {
  switch (type) {
    case kCFNumberSInt8Type: case kCFNumberCharType: return kCFNumberSInt8Type;
    case kCFNumberSInt16Type: case kCFNumberShortType: return kCFNumberSInt16Type;
    case kCFNumberSInt32Type: case kCFNumberIntType: return kCFNumberSInt32Type;
    case kCFNumberSInt64Type: case kCFNumberLongType: case kCFNumberLongLongType:
    case kCFNumberCFIndexType: case kCFNumberNSIntegerType:
      return kCFNumberSInt64Type;
    case kCFNumberFloat32Type: case kCFNumberFloatType: return kCFNumberFloat32Type;
    case kCFNumberFloat64Type: case kCFNumberDoubleType: case kCFNumberCGFloatType:
      return kCFNumberFloat64Type;
  }
  return CFNumberType(0);
}

char const* TypeName(CFNumberType type) {
  switch (type) {
    case kCFNumberSInt8Type: return "kCFNumberSInt8Type";
    case kCFNumberSInt16Type: return "kCFNumberSInt16Type";
    case kCFNumberSInt32Type: return "kCFNumberSInt32Type";
    case kCFNumberSInt64Type: return "kCFNumberSInt64Type";
    case kCFNumberFloat32Type: return "kCFNumberFloat32Type";
    default: return "kCFNumberFloat64Type";
  }
}

template <class T>
T Load(void const* p) {
  T v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

template <class T>
void Store(void* p, T v) {
  std::memcpy(p, &v, sizeof v);
}

// Integer to a narrower integer: clipped to the target's range.
template <class T>
bool IntegerToInteger(SInt64 v, void* out) {
  T const clipped = v < SInt64(std::numeric_limits<T>::min()) ? std::numeric_limits<T>::min()
                    : v > SInt64(std::numeric_limits<T>::max()) ? std::numeric_limits<T>::max()
                                                                : T(v);
  Store(out, clipped);
  return SInt64(clipped) == v;
}

// Float to integer: clipped to the range, the fraction cut off; NaN gives 0.
template <class T>
bool FloatToInteger(double v, void* out) {
  // Bounds as exact doubles: -2^(bits-1) and 2^(bits-1).
  double const low = -std::ldexp(1.0, std::numeric_limits<T>::digits);
  double const high = std::ldexp(1.0, std::numeric_limits<T>::digits);
  T result;
  if (std::isnan(v)) result = 0;
  else if (v < low) result = std::numeric_limits<T>::min();
  else if (v >= high) result = std::numeric_limits<T>::max();
  else result = T(v);
  Store(out, result);
  return !std::isnan(v) && double(result) == v;
}

}  // namespace

struct __CFNumber final : CFObject {
  __CFNumber() : CFObject(NumberTypeID()) {}

  bool IsFloat() const { return mType == kCFNumberFloat32Type || mType == kCFNumberFloat64Type; }

  std::string Describe() const override {
    char text[160];
    if (IsFloat())
      std::snprintf(text, sizeof text, "<CFNumber %p>{value = %+.17g, type = %s}",
                    static_cast<void const*>(this), mFloat, TypeName(mType));
    else
      std::snprintf(text, sizeof text, "<CFNumber %p>{value = %+lld, type = %s}",
                    static_cast<void const*>(this), static_cast<long long>(mInteger), TypeName(mType));
    return text;
  }
  bool Equals(CFObject const& other) const override {
    auto const& o = static_cast<__CFNumber const&>(other);
    if (IsFloat() || o.IsFloat()) {
      double const a = IsFloat() ? mFloat : double(mInteger);
      double const b = o.IsFloat() ? o.mFloat : double(o.mInteger);
      if (a != b) return false;
      // A float equal to an integer's double may still differ from the integer itself.
      if (!IsFloat() || !o.IsFloat()) {
        SInt64 exact = 0;
        double const f = IsFloat() ? mFloat : o.mFloat;
        SInt64 const i = IsFloat() ? o.mInteger : mInteger;
        return FloatToInteger<SInt64>(f, &exact) && exact == i;
      }
      return true;
    }
    return mInteger == o.mInteger;
  }

  CFNumberType mType = kCFNumberSInt32Type;
  SInt64 mInteger = 0;
  double mFloat = 0;
};

CFTypeID CFNumberGetTypeID() { return NumberTypeID(); }

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, void const* valuePtr) {
  CFNumberType const canonical = Canonical(type);
  if (!valuePtr || canonical == 0) return nullptr;
  auto* n = new __CFNumber;
  n->mType = canonical;
  switch (type) {
    case kCFNumberSInt8Type: case kCFNumberCharType: n->mInteger = Load<SInt8>(valuePtr); break;
    case kCFNumberSInt16Type: case kCFNumberShortType: n->mInteger = Load<SInt16>(valuePtr); break;
    case kCFNumberSInt32Type: case kCFNumberIntType: n->mInteger = Load<SInt32>(valuePtr); break;
    case kCFNumberLongType: n->mInteger = Load<long>(valuePtr); break;
    case kCFNumberLongLongType: n->mInteger = Load<long long>(valuePtr); break;
    case kCFNumberCFIndexType: case kCFNumberNSIntegerType: n->mInteger = Load<CFIndex>(valuePtr); break;
    case kCFNumberSInt64Type: n->mInteger = Load<SInt64>(valuePtr); break;
    case kCFNumberFloat32Type: case kCFNumberFloatType: n->mFloat = Load<float>(valuePtr); break;
    case kCFNumberFloat64Type: case kCFNumberDoubleType: case kCFNumberCGFloatType:
      n->mFloat = Load<double>(valuePtr);
      break;
  }
  return n;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
  __CFNumber const* n = CFObjectCast<__CFNumber const>(number, NumberTypeID());
  return n ? n->mType : CFNumberType(0);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* valuePtr) {
  __CFNumber const* n = CFObjectCast<__CFNumber const>(number, NumberTypeID());
  if (!n || !valuePtr) return false;
  // The C types are stored with their own width; a long on this machine is 64 bits.
  static_assert(sizeof(long) == 8 && sizeof(CFIndex) == 8 && sizeof(long long) == 8);
  CFNumberType const target = Canonical(type);
  if (n->IsFloat()) {
    double const v = n->mFloat;
    switch (target) {
      case kCFNumberSInt8Type: return FloatToInteger<SInt8>(v, valuePtr);
      case kCFNumberSInt16Type: return FloatToInteger<SInt16>(v, valuePtr);
      case kCFNumberSInt32Type: return FloatToInteger<SInt32>(v, valuePtr);
      case kCFNumberSInt64Type: return FloatToInteger<SInt64>(v, valuePtr);
      case kCFNumberFloat32Type: {
        // Clipped to the largest finite float, like the integer targets.
        float const max = std::numeric_limits<float>::max();
        float const f = std::isnan(v) ? std::numeric_limits<float>::quiet_NaN()
                        : v < -double(max) ? -max
                        : v > double(max)  ? max
                                           : float(v);
        Store(valuePtr, f);
        return std::isnan(v) ? true : double(f) == v;
      }
      case kCFNumberFloat64Type: Store(valuePtr, v); return true;
      default: return false;
    }
  }
  SInt64 const v = n->mInteger;
  switch (target) {
    case kCFNumberSInt8Type: return IntegerToInteger<SInt8>(v, valuePtr);
    case kCFNumberSInt16Type: return IntegerToInteger<SInt16>(v, valuePtr);
    case kCFNumberSInt32Type: return IntegerToInteger<SInt32>(v, valuePtr);
    case kCFNumberSInt64Type: Store(valuePtr, v); return true;
    case kCFNumberFloat32Type: {
      float const f = float(v);
      Store(valuePtr, f);
      SInt64 back = 0;
      return FloatToInteger<SInt64>(double(f), &back) && back == v;
    }
    case kCFNumberFloat64Type: {
      double const d = double(v);
      Store(valuePtr, d);
      SInt64 back = 0;
      return FloatToInteger<SInt64>(d, &back) && back == v;
    }
    default: return false;
  }
}
