#include <cstring>

#include "platform/charset.h"
#include "platform/platform.h"

namespace platform {
namespace {

bool IsUtf8Continuation(char byte) noexcept { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// The start of the character that lies across the end of source's first count bytes, or count when none does. UTF-8
// alone can be read backwards.
std::size_t CutUtf8(Charset charset, const char* source, std::size_t count) noexcept {
  if (!IsUtf8Continuation(source[count])) return count;
  constexpr std::size_t longestCharacter = 4;
  for (std::size_t back = 1; back < longestCharacter && back <= count; ++back) {
    const std::size_t start = count - back;
    if (IsUtf8Continuation(source[start])) continue;
    return CharacterLength(charset, source + start, longestCharacter) > back ? start : count;
  }
  return count;
}

std::size_t CutByWalking(Charset charset, const char* source, std::size_t count) noexcept {
  std::size_t end = 0;
  while (end < count) {
    const std::size_t next = end + CharacterLength(charset, source + end, SIZE_MAX);
    if (next > count) break;
    end = next;
  }
  return end;
}

// How many of source's first count bytes are whole characters before its terminating zero.
std::size_t WholeCharacters(const char* source, std::size_t count) noexcept {
  const std::size_t length = strnlen(source, count);
  if (length < count || count == 0) return length;
  const Charset charset = CurrentCharset();
  switch (charset.kind) {
    case CharsetKind::SingleByte:
      return count;
    case CharsetKind::Utf8:
      return CutUtf8(charset, source, count);
    case CharsetKind::MultiByte:
      return CutByWalking(charset, source, count);
  }
  return count;
}

} // namespace

void MbsCopyBytes(char* target, const char* source, std::size_t count) noexcept {
  const std::size_t length = WholeCharacters(source, count);
  std::memcpy(target, source, length);
  std::memset(target + length, 0, count - length);
}

void MbsAppendBytes(char* target, const char* source, std::size_t count) noexcept {
  char* end = target + std::strlen(target);
  const std::size_t length = WholeCharacters(source, count);
  std::memcpy(end, source, length);
  end[length] = '\0';
}

} // namespace platform
