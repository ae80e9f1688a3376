#include "text/convert.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"
#include "text/log.h"

namespace {

constexpr auto conversionError = static_cast<std::size_t>(-1);

// One pass without a branch per character, which the compiler turns into vector instructions.
template <class Unit, class Char>
bool IsAscii(const Char* text, std::size_t length) noexcept {
  Unit all = 0;
  for (std::size_t i = 0; i < length; ++i) all |= static_cast<Unit>(text[i]);
  return all < 0x80;
}

// Plain ASCII converts to itself, so it needs neither measuring nor the locale's converter.
template <class Target, class Source>
Target* CopyAscii(const Source* source, std::size_t length) {
  auto result = std::make_unique_for_overwrite<Target[]>(length + 1);
  std::transform(source, source + length, result.get(), [](Source unit) { return static_cast<Target>(unit); });
  result[length] = 0;
  return result.release();
}

} // namespace

char* ConvertToMultiByte(const std::wstring& source) {
  const wchar_t* const text = source.c_str();
  if (platform::AsciiIsPlain() && IsAscii<std::uint32_t>(text, source.size())) {
    return CopyAscii<char>(text, source.size());
  }

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
  const std::size_t sourceLength = std::strlen(source);
  if (platform::AsciiIsPlain() && IsAscii<unsigned char>(source, sourceLength)) {
    return CopyAscii<wchar_t>(source, sourceLength);
  }

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
