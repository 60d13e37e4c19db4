// The library's C entry points, found by the host with dlsym.
#pragma once

#include <cwchar>

class IDllInstance;

extern "C" {
// A new instance named after `name` (converted from wide characters), or null when it cannot be made.
IDllInstance* QVCreate(const wchar_t* name);
// Destroys an instance made by QVCreate; null is ignored.
void QVDestroy(IDllInstance* instance);
}
