#include "NSClassRegistry.h"

NSClassRegistry& NSClassRegistry::Shared() {
  // Built on first use, whoever registers first.
  static NSClassRegistry sShared;
  return sShared;
}

bool NSClassRegistry::Register(NSClass cls) {
  if (cls.mName.empty() || !cls.mCreate) return false;
  std::string name = cls.mName;
  return mClasses.emplace(std::move(name), std::move(cls)).second;
}

std::optional<NSClass> NSClassRegistry::Unregister(std::string_view name) {
  auto const it = mClasses.find(name);
  if (it == mClasses.end()) return std::nullopt;
  NSClass cls = std::move(it->second);
  mClasses.erase(it);
  return cls;
}

NSClass const* NSClassRegistry::Lookup(std::string_view name) const {
  auto const it = mClasses.find(name);
  return it == mClasses.end() ? nullptr : &it->second;
}

QWidget* NSClassRegistry::Create(std::string_view name, QWidget* parent) const {
  NSClass const* const cls = Lookup(name);
  return cls ? cls->mCreate(parent) : nullptr;
}

std::vector<std::string> NSClassRegistry::Names() const {
  std::vector<std::string> names;
  names.reserve(mClasses.size());
  for (auto const& entry : mClasses) names.push_back(entry.first);
  return names;
}

NSClass const* NSClassFromString(std::string_view name) {
  return NSClassRegistry::Shared().Lookup(name);
}
