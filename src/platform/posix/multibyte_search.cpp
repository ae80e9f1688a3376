#include <cstdint>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/charset.h"

namespace platform {
namespace {

// True when the first hit for these bytes begins a character, whatever stands around it.
bool BytesAreEnough(Charset charset, char firstByte) noexcept {
  if (charset.kind == CharsetKind::SingleByte) return true;
  return charset.kind == CharsetKind::Utf8 && static_cast<unsigned char>(firstByte) < 0x80;
}

// findBytes gives the next hit at or after a place, or null. Bytes are found fast; a hit counts when it begins a character.
template <class FindBytes>
const char* FindAtCharacter(Charset charset, const char* text, FindBytes findBytes) noexcept {
  const char* character = text;
  for (const char* hit = findBytes(text); hit != nullptr; hit = findBytes(character)) {
    while (character < hit) character += CharacterLength(charset, character, SIZE_MAX);
    if (character == hit) return hit;
  }
  return nullptr;
}

const char* FindWholeChar(Charset charset, const char* text, char wanted) noexcept {
  const char* hit = text;
  while ((hit = FindAtCharacter(charset, hit, [&](const char* from) { return std::strchr(from, wanted); })) != nullptr) {
    const std::size_t length = CharacterLength(charset, hit, SIZE_MAX);
    if (length == 1) return hit;
    hit += length; // only the first byte of a longer character
  }
  return nullptr;
}

} // namespace

const char* MbsFind(const char* text, const char* wanted) noexcept {
  const Charset charset = CurrentCharset();
  if (BytesAreEnough(charset, *wanted)) return std::strstr(text, wanted);
  return FindAtCharacter(charset, text, [&](const char* from) { return std::strstr(from, wanted); });
}

const char* MbsFindChar(const char* text, char wanted) noexcept {
  const Charset charset = CurrentCharset();
  return BytesAreEnough(charset, wanted) ? std::strchr(text, wanted) : FindWholeChar(charset, text, wanted);
}

const char* MbsFindLastChar(const char* text, char wanted) noexcept {
  const Charset charset = CurrentCharset();
  if (wanted == '\0' || BytesAreEnough(charset, wanted)) return std::strrchr(text, wanted);
  const char* last = nullptr;
  for (const char* hit = FindWholeChar(charset, text, wanted); hit != nullptr;
       hit = FindWholeChar(charset, hit + 1, wanted)) {
    last = hit;
  }
  return last;
}

} // namespace platform
