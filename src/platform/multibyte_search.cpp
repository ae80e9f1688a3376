#include <cstdint>
#include <cstring>

#include "platform/charset.h"
#include "platform/platform.h"

namespace platform {
namespace {

// True when bytes that begin and end with these two are whole characters wherever they are found.
bool BytesAreEnough(Charset charset, char first, char last) noexcept {
  const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  return charset.kind == CharsetKind::SingleByte ||
         (charset.kind == CharsetKind::Utf8 && isAscii(first) && isAscii(last));
}

// findBytes gives the next hit at or after a place, or null. Bytes are found fast; a hit of `size` of them counts when
// it begins with a character and ends with one.
template <class FindBytes>
const char* FindWhole(Charset charset, const char* text, std::size_t size, FindBytes findBytes) noexcept {
  const char* character = text;
  const auto goTo = [&](const char* place) {
    while (character < place) character += CharacterLength(charset, character, SIZE_MAX);
    return character == place;
  };
  for (const char* hit = findBytes(text); hit != nullptr; hit = findBytes(character)) {
    if (!goTo(hit)) continue;
    const char* const next = hit + CharacterLength(charset, hit, SIZE_MAX);
    if (goTo(hit + size)) return hit;
    character = next;
  }
  return nullptr;
}

const char* FindWholeChar(Charset charset, const char* text, char wanted) noexcept {
  return FindWhole(charset, text, 1, [&](const char* from) { return std::strchr(from, wanted); });
}

} // namespace

const char* MbsFind(const char* text, const char* wanted) noexcept {
  const Charset charset = CurrentCharset();
  const std::size_t size = std::strlen(wanted);
  if (size == 0) return text;
  if (BytesAreEnough(charset, wanted[0], wanted[size - 1])) return std::strstr(text, wanted);
  return FindWhole(charset, text, size, [&](const char* from) { return std::strstr(from, wanted); });
}

const char* MbsFindChar(const char* text, char wanted) noexcept {
  const Charset charset = CurrentCharset();
  return BytesAreEnough(charset, wanted, wanted) ? std::strchr(text, wanted) : FindWholeChar(charset, text, wanted);
}

const char* MbsFindLastChar(const char* text, char wanted) noexcept {
  const Charset charset = CurrentCharset();
  if (wanted == '\0' || BytesAreEnough(charset, wanted, wanted)) return std::strrchr(text, wanted);
  const char* last = nullptr;
  for (const char* hit = FindWholeChar(charset, text, wanted); hit != nullptr;
       hit = FindWholeChar(charset, hit + 1, wanted)) {
    last = hit;
  }
  return last;
}

} // namespace platform
