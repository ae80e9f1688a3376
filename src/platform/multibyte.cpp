// Strings in the character set of the current call. Single bytes decide wherever they can; only in
// character sets whose second bytes look like ASCII are characters walked one by one.
#include <algorithm>
#include <cassert>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include "platform/charset.h"
#include "platform/platform.h"
#include "platform/utf8.h"

namespace platform {
namespace {

using CodePoint = std::uint32_t;

// In bytes. Some C libraries also accept five or six, which are not valid UTF-8.
constexpr std::size_t maxCharacterLength = 4;

constexpr CodePoint asciiEnd = 0x80;
// Invalid bytes get values above all characters, so that each is equal to itself only.
constexpr CodePoint beyondCharacters = 0x110000;

struct Character {
  std::size_t length; // in bytes
  CodePoint value;
};

Character FirstOfUtf8(std::string_view text) noexcept {
  const auto [character, length] = DecodeUtf8(text);
  return {length, character};
}

// The length is above maxCharacterLength if the text does not begin with a valid character.
Character FirstOfLocale(std::string_view text) noexcept {
  wchar_t wide = 0;
  std::mbstate_t state{};
  const std::size_t length =
      std::mbrtowc(&wide, text.data(), std::min(text.size(), maxCharacterLength), &state);
  return {length, static_cast<CodePoint>(wide)};
}

// The first character of the text; a byte that does not begin a valid one counts as a character.
Character FirstOf(std::string_view text, Charset charset) noexcept {
  assert(!text.empty());
  const auto byte = static_cast<unsigned char>(text.front());
  if (charset.plain != PlainText::None && byte < asciiEnd) return {1, byte};
  const Character first = charset.isForcedUtf8 ? FirstOfUtf8(text) : FirstOfLocale(text);
  if (first.length == 0 || first.length > maxCharacterLength) return {1, beyondCharacters + byte};
  return first;
}

// How many of the text's first `count` bytes are whole characters. The bytes after them show
// whether the last one is whole.
std::size_t WholeCharacters(std::string_view text, std::size_t count, Charset charset) noexcept {
  assert(count <= text.size());
  if (charset.isSingleByte) return count;
  std::size_t end = 0;
  while (end < count) {
    const std::size_t next = end + FirstOf(text.substr(end), charset).length;
    if (next > count) break;
    end = next;
  }
  return end;
}

// The length in bytes of the whole characters that fit into `count` bytes.
std::size_t FittingBytes(const char* source, std::size_t count) noexcept {
  // One more character shows whether the last one that fits is whole. Most strings fit, so the
  // charset is not needed.
  const std::size_t length = strnlen(source, count + maxCharacterLength);
  return length <= count ? length : WholeCharacters({source, length}, count, CurrentCharset());
}

enum class Hit { First, Last };

// The byte may also be a part of a longer character.
const char* FindWhole(std::string_view text, char wanted, Hit hit, Charset charset) noexcept {
  const char* found = nullptr;
  std::size_t length = 0;
  for (; !text.empty(); text.remove_prefix(length)) {
    length = FirstOf(text, charset).length;
    if (length > 1 || text.front() != wanted) continue;
    found = text.data();
    if (hit == Hit::First) break;
  }
  return found;
}

const char* FindChar(const char* text, char wanted, Hit hit) noexcept {
  const Charset charset = CurrentCharset();
  const bool isAscii = static_cast<unsigned char>(wanted) < asciiEnd;
  const bool isWhole = charset.isSingleByte || (charset.plain == PlainText::Utf8 && isAscii);
  if (!isWhole) return FindWhole(text, wanted, hit, charset);
  if (hit == Hit::First) return std::strchr(text, wanted);
  return std::strrchr(text, wanted);
}

// ASCII letters fold to ASCII letters in every language; otherwise keywords would not match in a
// Turkish locale.
CodePoint Fold(CodePoint character, Charset charset) noexcept {
  if (character >= 'A' && character <= 'Z') return character + ('a' - 'A');
  if (character < asciiEnd || character >= beyondCharacters || charset.isForcedUtf8)
    return character;
  const auto folded = static_cast<CodePoint>(std::towlower(static_cast<std::wint_t>(character)));
  if (folded < asciiEnd) return character;
  return folded;
}

// Removes the next character from the text and returns it folded; always 0 at the end.
CodePoint TakeFolded(std::string_view& text, Charset charset) noexcept {
  if (text.empty()) return 0;
  const Character first = FirstOf(text, charset);
  text.remove_prefix(first.length);
  return Fold(first.value, charset);
}

} // namespace

// Equal characters are equal bytes.
int MbsCompare(const char* left, const char* right) noexcept { return std::strcmp(left, right); }

int MbsCompareNoCase(const char* left, const char* right) noexcept {
  return MbsCompareBytesNoCase(left, right, SIZE_MAX);
}

int MbsCompareBytesNoCase(const char* left, const char* right, std::size_t count) noexcept {
  const Charset charset = CurrentCharset();
  std::string_view leftText(left, strnlen(left, count));
  std::string_view rightText(right, strnlen(right, count));
  for (;;) {
    const CodePoint leftCharacter = TakeFolded(leftText, charset);
    const CodePoint rightCharacter = TakeFolded(rightText, charset);
    if (leftCharacter != rightCharacter) return leftCharacter < rightCharacter ? -1 : 1;
    if (leftCharacter == 0) return 0;
  }
}

void MbsCopyBytes(char* target, const char* source, std::size_t count) noexcept {
  const std::size_t length = FittingBytes(source, count);
  std::memcpy(target, source, length);
  std::memset(target + length, 0, count - length);
}

const char* MbsFindChar(const char* text, char wanted) noexcept {
  return FindChar(text, wanted, Hit::First);
}

const char* MbsFindLastChar(const char* text, char wanted) noexcept {
  return FindChar(text, wanted, Hit::Last);
}

} // namespace platform
