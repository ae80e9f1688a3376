// Asks the locale itself whether ASCII stands for itself in its character set.
#ifndef TARVIK_PLATFORM_ASCII_PROBE_H
#define TARVIK_PLATFORM_ASCII_PROBE_H

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace platform {

// Converts the 127 ASCII characters to wide text and back, which takes microseconds: remember the answer.
inline bool ProbeAsciiIsPlain() noexcept {
  constexpr std::size_t count = 127;
  char ascii[count + 1] = {};
  for (std::size_t i = 0; i < count; ++i) ascii[i] = static_cast<char>(i + 1);

  wchar_t wide[count + 1];
  if (std::mbstowcs(wide, ascii, count + 1) != count) return false;
  for (std::size_t i = 0; i < count; ++i) {
    if (wide[i] != static_cast<wchar_t>(i + 1)) return false;
  }
  char back[count + 1];
  return std::wcstombs(back, wide, count + 1) == count && std::memcmp(back, ascii, count) == 0;
}

} // namespace platform

#endif
