#include "ObjCRuntime.h"

#include <mutex>
#include <string>
#include <unordered_set>

namespace {

// Built on first use: selector tables register their names during static initialisation.
struct SelectorTable {
  std::mutex lock;
  std::unordered_set<std::string> names;  // nodes never move, so c_str() is stable
};

SelectorTable& Table() {
  static SelectorTable* const table = new SelectorTable;  // outlives every static destructor
  return *table;
}

}  // namespace

SEL sel_registerName(char const* name) {
  if (!name) return nullptr;
  SelectorTable& table = Table();
  std::lock_guard<std::mutex> guard(table.lock);
  auto const where = table.names.emplace(name).first;
  return reinterpret_cast<SEL>(where->c_str());
}

SEL sel_getUid(char const* name) { return sel_registerName(name); }

char const* sel_getName(SEL selector) {
  if (!selector) return "<null selector>";
  return reinterpret_cast<char const*>(selector);
}
