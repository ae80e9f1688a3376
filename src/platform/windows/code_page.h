// Conversions of a given code page, the base of those of the locale.
#ifndef TARVIK_PLATFORM_WINDOWS_CODE_PAGE_H
#define TARVIK_PLATFORM_WINDOWS_CODE_PAGE_H

#include <windows.h>

#include <cstddef>

namespace platform {

// As WideToMbs and MbsToWide.
std::size_t WideToCodePage(UINT codePage, char* target, const wchar_t* source,
                           std::size_t capacity) noexcept;
std::size_t CodePageToWide(UINT codePage, wchar_t* target, const char* source,
                           std::size_t capacity) noexcept;

} // namespace platform

#endif
