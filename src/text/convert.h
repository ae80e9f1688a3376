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
#include "host/ostrumxml/nodes/child_query.h"
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
inline bool NeedsNoConversion(std::string_view documentText) noexcept {
  const platform::PlainText plain = platform::CurrentCharset().plain;
  return plain == platform::PlainText::Utf8 ||
         (plain == platform::PlainText::Ascii && Ostrum::IsAscii(documentText));
}
// Whether a document's text has a form in the locale's character set. Logs nothing. Throws
// std::bad_alloc.
bool IsRepresentable(std::string_view utf8);

// Filters for searches in a document, in the current locale.
class LocaleFilters {
 public:
  LocaleFilters() noexcept;

  // Accepts texts that have a form in the locale's character set. Null if all have.
  const Ostrum::TextFilter* WithForm() const noexcept;
  // Accepts the others. REQUIRES: WithForm() is not null.
  const Ostrum::TextFilter& WithoutForm() const noexcept;

 private:
  Ostrum::TextFilter withForm;
  Ostrum::TextFilter withoutForm;
  bool isNeeded;
};

// A caller's text in UTF-8, to be compared with a document's, for the length of a scope. Comparing
// in UTF-8 gives the same answer as comparing in the locale's character set only if the text
// converts to UTF-8 and back to the same bytes.
class ComparableText {
 public:
  // localeText must outlive this object. Logs nothing. Throws std::bad_alloc.
  explicit ComparableText(std::string_view localeText);
  ComparableText(ComparableText&&) = delete;

  // Nothing if it does not convert so. Lives as long as this object.
  const std::optional<std::string_view>& Text() const noexcept { return text; }

 private:
  std::optional<std::string_view> text;
  std::string converted;
};

// A document's text in the caller's character set, for the length of a scope.
class LocaleText {
 public:
  // Does what ConvertToMultiByte does, its log lines included. utf8 must outlive this object.
  // Throws std::bad_alloc.
  explicit LocaleText(std::string_view utf8) {
    if (NeedsNoConversion(utf8)) {
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
