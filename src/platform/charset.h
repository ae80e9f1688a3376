// What the multibyte functions must know of the locale's character set.
#ifndef TARVIK_PLATFORM_CHARSET_H
#define TARVIK_PLATFORM_CHARSET_H

#include <cstddef>

namespace platform {

enum class CharsetKind {
  SingleByte, // every byte is a character
  Utf8,       // no byte of a character can be taken for another character
  MultiByte,  // the second byte of a character can look like a character: only walking from the start is right
};

struct Charset {
  CharsetKind kind;
  bool asciiIsPlain;
};

// The character set of the calling thread's locale, as each system tells it.
Charset AskForCharset() noexcept;

// The same, asked for once while a CharsetScope lives.
Charset CurrentCharset() noexcept;

// A call of the library works in one character set. Asking for it a dozen times, as a search does, would take a sixth of the
// time.
class CharsetScope {
 public:
  CharsetScope() noexcept;
  ~CharsetScope();
  CharsetScope(const CharsetScope&) = delete;
  CharsetScope& operator=(const CharsetScope&) = delete;

 private:
  const bool isOutermost;
};

// Finds it out by converting the ASCII characters, which takes microseconds: remember the answer.
Charset LearnCharset() noexcept;

// The number of bytes of the character at text, at least 1: a byte that begins no valid character, and the terminating
// zero, count as one. Reads neither beyond text's terminating zero nor beyond `limit` bytes.
std::size_t CharacterLength(Charset charset, const char* text, std::size_t limit) noexcept;

} // namespace platform

#endif
