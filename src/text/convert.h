// The one place where text crosses between a document, which is UTF-8, and a caller, whose
// character set is the locale's.
#ifndef TARVIK_TEXT_CONVERT_H
#define TARVIK_TEXT_CONVERT_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/nodes/node.h"
#include "platform/charset.h"

// Owners of what the conversions return; null when a conversion failed.
using MultiByteText = std::unique_ptr<char[]>;
using WideText = std::unique_ptr<wchar_t[]>;

// Both convert in the process's current locale and give a new array, which the caller releases with
// delete[], of exactly the converted length and a terminating zero. Null, after a detail line that
// says why, when the source can't be converted. Throw std::bad_alloc.
char* ConvertToMultiByte(const std::wstring& source);
wchar_t* ConvertToUnicode(const char* source);

// Whether the text means the same on both sides, so that it needs no conversion: all valid text
// where the locale is in UTF-8, plain ASCII in nearly every other. REQUIRES of a document's text:
// it is valid UTF-8.
inline bool PassesAsItIs(std::string_view documentText) noexcept {
  const platform::PlainText plain = platform::CurrentCharset().plain;
  return plain == platform::PlainText::Utf8 ||
         (plain == platform::PlainText::Ascii && Ostrum::IsAscii(documentText));
}
// Whether that holds for all of the text of the element's document.
inline bool DocumentPasses(const Ostrum::Element& element) noexcept {
  const platform::PlainText plain = platform::CurrentCharset().plain;
  return plain == platform::PlainText::Utf8 ||
         (plain == platform::PlainText::Ascii && element.DocumentIsAscii());
}

// Whether a document's text has a form in the locale's character set. Logs nothing. Throws
// std::bad_alloc.
bool HasLocaleForm(std::string_view utf8);

// A document's text in the caller's character set, for the length of a scope.
class LocaleText {
 public:
  // Does what ConvertToMultiByte does, its log lines included. utf8 must outlive this object.
  // Throws std::bad_alloc.
  explicit LocaleText(std::string_view utf8) {
    if (PassesAsItIs(utf8)) {
      text = utf8;
    } else {
      Convert(utf8);
    }
  }
  LocaleText(LocaleText&&) = delete;

  // Nothing when the text has no form in the locale. Not terminated; lives as long as this object.
  const std::optional<std::string_view>& Text() const noexcept { return text; }

 private:
  void Convert(std::string_view utf8);

  std::optional<std::string_view> text;
  MultiByteText converted;
};

// A caller's text in UTF-8, for the length of a scope.
class DocumentText {
 public:
  // Does what ConvertToUnicode does, its log lines included. localeText must outlive this object.
  // Throws std::bad_alloc.
  explicit DocumentText(const char* localeText);
  DocumentText(DocumentText&&) = delete;

  // Nothing when the text is not valid in the locale's character set. Lives as long as this object.
  const std::optional<std::string_view>& Text() const noexcept { return text; }

 private:
  std::optional<std::string_view> text;
  std::string converted;
};

#endif
