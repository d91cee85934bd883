#include "DVDWindowDelegate.h"

// Out of line, so that the interface's vtable has one home.
DVDWindowDelegate::~DVDWindowDelegate() = default;
