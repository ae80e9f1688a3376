// Text between the callers' multibyte form and the document library's wide form.
#ifndef TARVIK_TEXT_CONVERT_H
#define TARVIK_TEXT_CONVERT_H

#include <cstddef>
#include <memory>
#include <string>

// Owners of what the conversions return; null when a conversion failed.
using MultiByteText = std::unique_ptr<char[]>;
using WideText = std::unique_ptr<wchar_t[]>;

// Both convert in the process's current locale and give a new array, which the caller releases with delete[], of exactly the
// converted length and a terminating zero. Null, after a detail line that says why, when the source can't be converted.
// Throw std::bad_alloc.
char* ConvertToMultiByte(const std::wstring& source);
wchar_t* ConvertToUnicode(const char* source);

// Formats into buffer, never beyond capacity, always terminated (nothing is written when capacity is 0). Returns the number
// of bytes stored, negative when the text was cut.
int FormatToBuffer(char* buffer, const std::size_t& capacity, const char* format, ...) noexcept
    __attribute__((format(printf, 3, 4)));

#endif
