// The text of a whole document as it crosses the library's interface: wide text, held in UTF-8. A document of megabytes is
// thus never blown up to the wide character's width for a moment only; who wants the wide characters asks for them.
#ifndef TARVIK_HOST_OSTRUMXML_DOCUMENT_TEXT_H
#define TARVIK_HOST_OSTRUMXML_DOCUMENT_TEXT_H

#include <cstddef>
#include <string>

namespace Ostrum {

class DocumentText {
 public:
  DocumentText() = default;
  // REQUIRES: utf8 is valid and is wideLength wide characters long.
  DocumentText(std::string utf8, std::size_t wideLength) noexcept : utf8(std::move(utf8)), wideLength(wideLength) {}

  // Throws std::invalid_argument when the wide text is not valid (half of a surrogate pair).
  static DocumentText FromWide(const std::wstring& text);
  std::wstring ToWide() const;

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
