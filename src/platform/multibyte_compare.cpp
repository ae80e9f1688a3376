#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include "platform/charset.h"
#include "platform/platform.h"

namespace platform {
namespace {

using CodePoint = std::uint32_t;

// A byte that is no character must equal that byte alone, so it stands above all characters.
constexpr CodePoint beyondCharacters = 0x110000;

constexpr bool IsAscii(CodePoint character) noexcept { return character < 0x80; }

// ASCII letters fold to ASCII letters in every language, or the keywords would not match in a Turkish locale.
CodePoint Fold(CodePoint character) noexcept {
  if (IsAscii(character)) return character >= 'A' && character <= 'Z' ? character + ('a' - 'A') : character;
  const auto folded = static_cast<CodePoint>(std::towlower(static_cast<std::wint_t>(character)));
  return IsAscii(folded) ? character : folded;
}

// Walks over the characters of a text that ends at its terminating zero or after `limit` bytes.
class FoldedText {
 public:
  FoldedText(Charset textCharset, const char* text, std::size_t limit) noexcept
      : charset(textCharset), next(text), remaining(limit) {}

  // The next character, folded; 0 at the end, again and again.
  CodePoint Next() noexcept {
    if (remaining == 0 || *next == '\0') return 0;
    const auto byte = static_cast<unsigned char>(*next);
    if (charset.asciiIsPlain && IsAscii(byte)) {
      Advance(1);
      return Fold(byte);
    }
    return NextDecoded(byte);
  }

 private:
  CodePoint NextDecoded(unsigned char byte) noexcept {
    const std::size_t length = CharacterLength(charset, next, remaining);
    wchar_t character = 0;
    std::mbstate_t state{};
    const bool isCharacter = std::mbrtowc(&character, next, length, &state) == length;
    Advance(length);
    return isCharacter ? Fold(static_cast<CodePoint>(character)) : beyondCharacters + byte;
  }

  void Advance(std::size_t length) noexcept {
    next += length;
    remaining -= length;
  }

  Charset charset;
  const char* next;
  std::size_t remaining;
};

} // namespace

// Texts are equal character by character exactly when they are equal byte by byte.
int MbsCompare(const char* left, const char* right) noexcept { return std::strcmp(left, right); }

int MbsCompareBytes(const char* left, const char* right, std::size_t count) noexcept {
  return std::strncmp(left, right, count);
}

int MbsCompareNoCase(const char* left, const char* right) noexcept {
  return MbsCompareBytesNoCase(left, right, SIZE_MAX);
}

int MbsCompareBytesNoCase(const char* left, const char* right, std::size_t count) noexcept {
  const Charset charset = CurrentCharset();
  FoldedText leftText(charset, left, count);
  FoldedText rightText(charset, right, count);
  for (;;) {
    const CodePoint leftCharacter = leftText.Next();
    const CodePoint rightCharacter = rightText.Next();
    if (leftCharacter != rightCharacter) return leftCharacter < rightCharacter ? -1 : 1;
    if (leftCharacter == 0) return 0;
  }
}

} // namespace platform
