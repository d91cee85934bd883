// Classes that user-interface files name: each module registers a factory under each class's
// own name when its registration function is called (the kit's all at once through
// CocoaX_RegisterClasses), before a user-interface file is loaded.
#pragma once

#include <QRect>
#include <QWidget>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct NSClass {
  std::string mName;
  std::function<QWidget*(QWidget* parent)> mCreate;
};

class NSClassRegistry {
 public:
  static NSClassRegistry& Shared();

  // False when the name is taken already.
  bool Register(NSClass cls);
  // Takes a class out and gives it back (so a caller can put it in again).
  std::optional<NSClass> Unregister(std::string_view name);
  NSClass const* Lookup(std::string_view name) const;
  // A new, initialised object of the named class, or nullptr for an unknown name.
  QWidget* Create(std::string_view name, QWidget* parent = nullptr) const;
  std::vector<std::string> Names() const;

 private:
  std::map<std::string, NSClass, std::less<>> mClasses;
};

// The class object of a name, nil when no module registered it.
NSClass const* NSClassFromString(std::string_view name);

// Objects that finish setting up once a user-interface file has been loaded completely.
class NSNibAwaking {
 public:
  virtual ~NSNibAwaking() = default;
  virtual void awakeFromNib() = 0;
};

// Creates T and runs its toolkit initialiser: views initWithFrame:, windows
// initWithContentRect:styleMask:backing:defer: (borderless, buffered).
template <class T>
T* NSClassInstantiate(QWidget* parent) {
  T* object = new T(parent);
  if constexpr (requires(T* t) { t->initWithFrame(QRect()); }) {
    object->initWithFrame(QRect());
  } else if constexpr (requires(T* t) { t->initWithContentRect(QRect(), 0u, 2u, false); }) {
    object->initWithContentRect(QRect(), 0u, 2u, false);
  }
  return object;
}

// Registers T under name; false when the name is taken already (registering twice is harmless).
template <class T>
bool NSRegisterClass(char const* name) {
  return NSClassRegistry::Shared().Register(
      NSClass{name, [](QWidget* parent) -> QWidget* { return NSClassInstantiate<T>(parent); }});
}

#define NS_REGISTER_CLASS(T) NSRegisterClass<T>(#T)
