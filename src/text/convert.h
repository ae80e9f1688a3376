// The one place where text crosses between a document, which is UTF-8, and a caller, whose
// character set is the locale's.
#ifndef TARVIK_TEXT_CONVERT_H
#define TARVIK_TEXT_CONVERT_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/nodes/child_query.h"
#include "platform/charset.h"

// Both convert between wide text and the character set of the call. They return a new array of
// exactly the converted length and a terminating zero, which the caller releases with delete[]; or
// null, after a detail line that says why, if the source cannot be converted. Throw std::bad_alloc.
// REQUIRES of ConvertToMultiByte: the character set is not forced UTF-8, which needs no conversion.
char* ConvertToMultiByte(const std::wstring& source);
wchar_t* ConvertToUnicode(const char* source);
// Owners of the results.
using MultiByteText = std::unique_ptr<char[]>;
using WideText = std::unique_ptr<wchar_t[]>;

// Whether the text is the same on both sides, so that it needs no conversion: all valid text if the
// character set is UTF-8, ASCII in nearly every other. REQUIRES of a document's text: it is valid
// UTF-8.
inline bool NeedsNoConversion(std::string_view text) noexcept {
  const platform::PlainText plain = platform::CurrentCharset().plain;
  return plain == platform::PlainText::Utf8 ||
         (plain == platform::PlainText::Ascii && Ostrum::IsAscii(text));
}

// Whether the caller's character set can represent a document's text. Logs nothing. Throws
// std::bad_alloc.
bool IsRepresentable(std::string_view utf8);
// Filters for searches: the texts that it can represent, and the others. Each text is in one of
// them.
Ostrum::TextFilter RepresentableTexts() noexcept;
Ostrum::TextFilter OtherTexts() noexcept;

// A converted text, for the length of a scope. The source must outlive it.
class ConvertedText {
 public:
  ConvertedText(ConvertedText&&) = delete;

  // Nothing if it cannot be converted. Not terminated; lives as long as this object.
  const std::optional<std::string_view>& Text() const noexcept { return text; }

 protected:
  ConvertedText() = default;
  explicit ConvertedText(std::string_view source) noexcept {
    if (NeedsNoConversion(source)) text = source;
  }
  ~ConvertedText() = default;

  std::optional<std::string_view> text; // of the source, or of converted
  std::string converted;
};

// A document's text in the caller's character set.
class LocaleText : public ConvertedText {
 public:
  // Logs what ConvertToMultiByte logs. Throws std::bad_alloc.
  explicit LocaleText(std::string_view utf8) : ConvertedText(utf8) {
    if (!text) Convert(utf8);
  }

 private:
  void Convert(std::string_view utf8);
};

// A caller's text in UTF-8.
class DocumentText : public ConvertedText {
 public:
  // Logs what ConvertToUnicode logs. Throws std::bad_alloc.
  explicit DocumentText(const char* localeText);
};

// A caller's text in UTF-8, to be compared with a document's. Comparing in UTF-8 gives the same
// answer as comparing in the caller's character set only if the text converts to UTF-8 and back to
// the same bytes.
class ComparableText : public ConvertedText {
 public:
  // Null gives no text. Logs nothing. Throws std::bad_alloc.
  explicit ComparableText(const char* localeText) : isGiven(localeText != nullptr) {
    if (isGiven) Convert(localeText);
  }
  // False if there is a text that does not convert so.
  bool IsComparable() const noexcept { return text.has_value() == isGiven; }

 private:
  void Convert(const char* localeText);

  bool isGiven;
};

#endif
