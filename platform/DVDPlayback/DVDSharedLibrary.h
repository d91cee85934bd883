// A system library opened the first time it is needed, not when the program
// starts: linking a library with a large closure at start costs every run,
// though most never use it (a still of a progressive picture needs no filter
// graph; a grab never plays sound).

#pragma once

namespace dvd {

class DVDSharedLibrary {
 public:
  DVDSharedLibrary() = default;
  DVDSharedLibrary(DVDSharedLibrary const&) = delete;
  DVDSharedLibrary& operator=(DVDSharedLibrary const&) = delete;

  // Opens the library by its file name (soname); false, logged, when it cannot
  // be loaded.
  bool Construct(char const* soname);

  // Points `function` at the library's symbol; false, logged, when the library
  // lacks it.
  template <class Function>
  bool Bind(Function*& function, char const* name) const {
    function = reinterpret_cast<Function*>(Symbol(name));
    return function != nullptr;
  }

 private:
  void* Symbol(char const* name) const;

  // Never closed: a library's threads or exit handlers may outlive any one
  // user.
  void* mHandle = nullptr;
  char const* mName = "";
};

}  // namespace dvd
