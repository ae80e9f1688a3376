#ifndef TARVIK_HOST_OSTRUMXML_DOCUMENT_TEXT_H
#define TARVIK_HOST_OSTRUMXML_DOCUMENT_TEXT_H

#include <cstddef>
#include <string>
#include <utility>

namespace Ostrum {

// The text of a whole document as it crosses the library's interface: measured in wide characters like every text there, but
// held in UTF-8. So a document of megabytes is never blown up to the wide character's width for a moment only.
class DocumentText {
 public:
  DocumentText() = default;
  // REQUIRES: utf8 is valid and wideLength wide characters long.
  DocumentText(std::string&& utf8, std::size_t wideLength) noexcept : utf8(std::move(utf8)), wideLength(wideLength) {}

  // In wide characters: 16-bit units where wchar_t has 16 bits, else whole characters.
  std::size_t Length() const noexcept { return wideLength; }
  const std::string& Utf8() const noexcept { return utf8; }
  std::string TakeUtf8() noexcept { return std::move(utf8); }

 private:
  std::string utf8;
  std::size_t wideLength = 0;
};

} // namespace Ostrum

#endif
