#include "text/edge.h"

#include "host/ostrumxml/utf8.h"
#include "platform/platform.h"

bool DocumentPasses(const Ostrum::Element& element) noexcept {
  const platform::PlainText plain = platform::CurrentPlainText();
  return plain == platform::PlainText::Utf8 || (plain == platform::PlainText::Ascii && element.DocumentIsAscii());
}

bool PassesAsItIs(std::string_view documentText) noexcept {
  const platform::PlainText plain = platform::CurrentPlainText();
  return plain == platform::PlainText::Utf8 || (plain == platform::PlainText::Ascii && Ostrum::IsAscii(documentText));
}

LocaleText::LocaleText(std::string_view utf8) {
  if (PassesAsItIs(utf8)) {
    text = utf8;
    return;
  }
  converted.reset(ConvertToMultiByte(Ostrum::WideFromUtf8(utf8)));
  if (converted != nullptr) text = converted.get();
}

DocumentText::DocumentText(const char* localeText) {
  const std::string_view given(localeText);
  if (PassesAsItIs(given) && Ostrum::IsUtf8(given)) {
    text = given;
    return;
  }
  const WideText wide(ConvertToUnicode(localeText));
  if (wide != nullptr && Ostrum::Utf8FromWide(wide.get(), converted)) text = converted;
}
