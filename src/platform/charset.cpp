#include "platform/charset.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>

namespace platform {
namespace {

using Answer = std::optional<Charset>;

// What the outermost scope was told. GNU's C library keeps room in each thread for a few small variables of libraries that are
// loaded late; elsewhere the faster access could fail.
#ifdef __GLIBC__
[[gnu::tls_model("initial-exec")]]
#endif
thread_local constinit Answer asked;

} // namespace

Charset CurrentCharset() noexcept { return asked ? *asked : AskForCharset(); }

CharsetScope::CharsetScope() noexcept : isOutermost(!asked) {
  if (isOutermost) asked = AskForCharset();
}

CharsetScope::~CharsetScope() {
  if (isOutermost) asked.reset();
}

Charset LearnCharset() noexcept {
  const int errorBefore = errno;
  constexpr std::size_t size = 128; // the ASCII characters, the zero last
  char ascii[size];
  for (std::size_t i = 0; i < size; ++i) ascii[i] = static_cast<char>((i + 1) % size);
  wchar_t wide[size];
  char back[size];
  const bool isPlain = std::mbstowcs(wide, ascii, size) == size - 1 && std::equal(wide, wide + size, ascii) &&
                       std::wcstombs(back, wide, size) == size - 1 && std::equal(back, back + size, ascii);
  errno = errorBefore;
  return {isPlain ? PlainText::Ascii : PlainText::None, MB_CUR_MAX == 1};
}

PlainText CurrentPlainText() noexcept { return CurrentCharset().plain; }

} // namespace platform
