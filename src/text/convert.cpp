#include "text/convert.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "text/log.h"

namespace {

constexpr auto conversionError = static_cast<std::size_t>(-1);

} // namespace

char* ConvertToMultiByte(const std::wstring& source) {
  const wchar_t* const text = source.c_str();
  const std::size_t length = std::wcstombs(nullptr, text, 0);
  if (length == conversionError) {
    LogDetail(L"Failed to get the length of ", text, L":  ", std::strerror(errno));
    return nullptr;
  }
  auto result = std::make_unique<char[]>(length + 1);
  if (std::wcstombs(result.get(), text, length + 1) == conversionError) {
    LogDetail(L"Failed to convert ", text, L" to a multi-byte string:  ", std::strerror(errno));
    return nullptr;
  }
  return result.release();
}

wchar_t* ConvertToUnicode(const char* source) {
  const std::size_t length = std::mbstowcs(nullptr, source, INT32_MAX);
  if (length == conversionError) {
    LogDetail(L"Failed to get the length of ", source, L":  ", std::strerror(errno));
    return nullptr;
  }
  auto result = std::make_unique<wchar_t[]>(length + 1);
  if (std::mbstowcs(result.get(), source, length + 1) == conversionError) {
    LogDetail(L"Failed to convert ", source, L" to a unicode string:  ", std::strerror(errno));
    return nullptr;
  }
  return result.release();
}
