// The conversion to a given code page, the base of that to the locale's.
#ifndef TARVIK_PLATFORM_WINDOWS_CODE_PAGE_H
#define TARVIK_PLATFORM_WINDOWS_CODE_PAGE_H

#include <windows.h>

#include <cstddef>

namespace platform {

// As WideToMbs.
std::size_t WideToCodePage(UINT codePage, char* target, const wchar_t* source,
                           std::size_t capacity);

} // namespace platform

#endif
