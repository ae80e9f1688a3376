#ifndef TARVIK_HOST_OSTRUMXML_ENCODING_TABLE_H
#define TARVIK_HOST_OSTRUMXML_ENCODING_TABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/encoding_converter.h"

namespace Ostrum {

// What the bytes of one encoding mean in UTF-8. The system's converter is asked about each character once, not given the
// whole text: that takes half the time, tells exactly where a text is wrong, and bytes mean the same wherever they stand.
class EncodingTable {
 public:
  // name: in upper case. Throws std::bad_alloc.
  explicit EncodingTable(std::string_view name);

  // False when the encoding is unknown, or ASCII does not stand for itself in it.
  bool IsUsable() const noexcept { return usable; }

  // Appends the text to utf8, up to the first byte that begins no character; returns how many bytes were converted.
  // REQUIRES: IsUsable().
  std::size_t Convert(std::string_view bytes, std::string& utf8);

 private:
  struct Character {
    char utf8[7]; // converters make two characters of some
    std::uint8_t length;
  };
  // Values of `length` for what is no character; leading: none yet, but more bytes may make it one.
  static constexpr std::uint8_t notAsked = 0, invalid = 0xFE, leading = 0xFF;

  Character Ask(std::string_view bytes) const noexcept;
  Character Longer(std::string_view text, std::size_t& size);

  const platform::EncodingConverter converter;
  const bool hasControls; // bytes 80 to 9F are the characters U+0080 to U+009F
  bool usable;
  Character singles[256];
  std::vector<Character> pairs; // by the first byte less 80, and the second; empty until one is asked for
};

} // namespace Ostrum

#endif
