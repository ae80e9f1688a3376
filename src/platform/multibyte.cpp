// Strings in the character set of the current call. Single bytes decide wherever they can; only in
// character sets whose second bytes look like ASCII are characters walked one by one.
#include <cassert>
#include <cstring>
#include <cwctype>

#include "platform/character.h"
#include "platform/charset.h"
#include "platform/platform.h"

namespace platform {
namespace {

constexpr char32_t asciiEnd = 0x80;
// Invalid bytes get values above all characters, so that each is equal to itself only.
constexpr char32_t beyondCharacters = 0x110000;

// The first character of the text; a byte that does not begin a valid one counts as a character.
Character FirstOf(std::string_view text, const Charset& charset) noexcept {
  assert(!text.empty());
  const auto byte = static_cast<unsigned char>(text.front());
  if (charset.plain != PlainText::None && byte < asciiEnd) return {byte, 1};
  const Character first = Decode(text, charset.isForcedUtf8);
  if (first.length == 0) return {beyondCharacters + byte, 1};
  return first;
}

// How many of the text's first `count` bytes are whole characters. The bytes after them show
// whether the last one is whole.
std::size_t WholeCharacters(std::string_view text, std::size_t count) noexcept {
  assert(count <= text.size());
  const Charset charset = CurrentCharset();
  if (charset.isSingleByte) return count;
  std::size_t end = 0;
  while (end < count) {
    const std::size_t next = end + FirstOf(text.substr(end), charset).length;
    if (next > count) break;
    end = next;
  }
  return end;
}

// ASCII letters fold to ASCII letters in every language; otherwise keywords would not match in a
// Turkish locale.
char32_t Fold(char32_t character, const Charset& charset) noexcept {
  if (character >= 'A' && character <= 'Z') return character + ('a' - 'A');
  if (character < asciiEnd || character >= beyondCharacters || charset.isForcedUtf8)
    return character;
  const auto folded = static_cast<char32_t>(std::towlower(static_cast<std::wint_t>(character)));
  if (folded < asciiEnd) return character;
  return folded;
}

} // namespace

// Equal characters are equal bytes.
int MbsCompare(const char* left, const char* right) noexcept { return std::strcmp(left, right); }

bool MbsEqualsNoCase(std::string_view left, std::string_view right) noexcept {
  const Charset charset = CurrentCharset();
  while (!left.empty() && !right.empty()) {
    const Character first = FirstOf(left, charset), second = FirstOf(right, charset);
    if (Fold(first.value, charset) != Fold(second.value, charset)) return false;
    left.remove_prefix(first.length);
    right.remove_prefix(second.length);
  }
  return left.empty() && right.empty();
}

void MbsCopyBytes(char* target, const char* source, std::size_t count) noexcept {
  // One more character shows whether the last one that fits is whole. Most strings fit, so the
  // charset is not needed.
  const std::string_view text(source, strnlen(source, count + maxCharacterLength));
  std::size_t length = text.size();
  if (length > count) length = WholeCharacters(text, count);
  std::memcpy(target, source, length);
  std::memset(target + length, 0, count - length);
}

const char* MbsFindChar(const char* text, char wanted) noexcept {
  const Charset charset = CurrentCharset();
  const bool isAscii = static_cast<unsigned char>(wanted) < asciiEnd;
  if (charset.isSingleByte || (charset.plain == PlainText::Utf8 && isAscii))
    return std::strchr(text, wanted);
  // The byte may also be a part of a longer character.
  while (*text != '\0') {
    const std::size_t length = FirstOf({text, strnlen(text, maxCharacterLength)}, charset).length;
    if (length == 1 && *text == wanted) return text;
    text += length;
  }
  return nullptr;
}

const char* MbsFindLastChar(const char* text, char wanted) noexcept {
  const char* last = nullptr;
  while (const char* const found = MbsFindChar(text, wanted)) {
    last = found;
    text = found + 1;
  }
  return last;
}

} // namespace platform
