// What a character set can do is found out by trying, since its name says nothing reliable.
#include "platform/charset.h"

#include <algorithm>
#include <cstdlib>

namespace platform {

thread_local constinit std::optional<Charset> charsetInScope;

Charset ProbeCharset(std::uint32_t id) noexcept {
  if (id == utf8Id) return {id, PlainText::Utf8, false, false};
  constexpr std::size_t size = 128; // the ASCII characters, the zero last
  char ascii[size];
  for (std::size_t i = 0; i < size; ++i) ascii[i] = static_cast<char>((i + 1) % size);
  wchar_t wide[size];
  char back[size];
  const bool isPlain =
      std::mbstowcs(wide, ascii, size) == size - 1 && std::equal(wide, wide + size, ascii) &&
      std::wcstombs(back, wide, size) == size - 1 && std::equal(back, back + size, ascii);
  const PlainText plain = isPlain ? PlainText::Ascii : PlainText::None;
  return {id, plain, MB_CUR_MAX == 1, false};
}

} // namespace platform
