// Run-time selectors: a selector is an interned name, so two selectors of the same name are
// the same value and compare with ==. Names keep their colons ("selectDefault_SaveJPEG:").
#pragma once

struct objc_selector;
using SEL = objc_selector const*;

// The one selector of that name, made on first use; null for a null name. Never freed.
SEL sel_registerName(char const* name);
SEL sel_getUid(char const* name);
// The selector's name; "<null selector>" for null.
char const* sel_getName(SEL selector);
inline bool sel_isEqual(SEL a, SEL b) { return a == b; }
