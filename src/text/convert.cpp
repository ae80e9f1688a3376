// Conversions by the platform's functions, or from UTF-8 in a call in UTF-8 by the document
// library's. Both measure first, because the results are arrays of exactly the converted length.
#include "text/convert.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstring>
#include <memory>

#include "platform/platform.h"
#include "text/log.h"

namespace {

// As platform::MbsToWide, for UTF-8 whatever the locale.
std::size_t Utf8ToWide(wchar_t* target, const char* source, std::size_t capacity) {
  assert(target != nullptr || capacity == 0);
  if (!Ostrum::IsUtf8(source)) {
    errno = EILSEQ;
    return platform::conversionFailed;
  }
  const std::wstring wide = Ostrum::WideFromUtf8(source);
  std::copy_n(wide.c_str(), std::min(wide.size() + 1, capacity), target);
  return wide.size();
}

// Measures first, then converts.
template <class To, class From>
To* Convert(std::size_t (*convert)(To*, const From*, std::size_t), const From* source,
            const wchar_t* target) {
  const std::size_t length = convert(nullptr, source, 0);
  if (length == platform::conversionFailed) {
    LogDetail(L"Failed to get the length of ", source, L":  ", std::strerror(errno));
    return nullptr;
  }
  auto result = std::make_unique<To[]>(length + 1);
  if (convert(result.get(), source, length + 1) == platform::conversionFailed) {
    LogDetail(L"Failed to convert ", source, L" to a ", target, L" string:  ",
              std::strerror(errno));
    return nullptr;
  }
  return result.release();
}

} // namespace

char* ConvertToMultiByte(const std::wstring& source) {
  return Convert(&platform::WideToMbs, source.c_str(), L"multi-byte");
}

wchar_t* ConvertToUnicode(const char* source) {
  const bool isUtf8 = platform::CurrentCharset().isForcedUtf8;
  const auto convert = isUtf8 ? &Utf8ToWide : &platform::MbsToWide;
  return Convert(convert, source, L"unicode");
}

bool IsRepresentable(std::string_view utf8) {
  return NeedsNoConversion(utf8) || platform::WideToMbs(nullptr, Ostrum::WideFromUtf8(utf8).c_str(),
                                                        0) != platform::conversionFailed;
}

Ostrum::TextFilter RepresentableTexts() noexcept {
  const platform::Charset charset = platform::CurrentCharset();
  if (charset.plain == platform::PlainText::Utf8) return {};
  return {charset.id, &IsRepresentable};
}

Ostrum::TextFilter OtherTexts() noexcept {
  const std::uint32_t id = ~platform::CurrentCharset().id;
  return {id, [](std::string_view text) { return !IsRepresentable(text); }};
}

void LocaleText::Convert(std::string_view utf8) {
  const MultiByteText result(ConvertToMultiByte(Ostrum::WideFromUtf8(utf8)));
  if (result != nullptr) text = converted = result.get();
}

DocumentText::DocumentText(const char* localeText) : ConvertedText(localeText) {
  if (text && Ostrum::IsUtf8(*text)) return;
  text.reset();
  const WideText wide(ConvertToUnicode(localeText));
  if (wide != nullptr && Ostrum::Utf8FromWide(wide.get(), converted)) text = converted;
}

void ComparableText::Convert(const char* localeText) {
  const std::string_view given(localeText);
  if (NeedsNoConversion(given)) {
    text = given;
    return;
  }
  std::wstring wide(given.size() + 1, L'\0');
  const std::size_t wideLength = platform::MbsToWide(wide.data(), localeText, wide.size());
  if (wideLength == platform::conversionFailed) return;
  wide.resize(wideLength);
  std::string back(given.size() + 1, '\0');
  platform::WideToMbs(back.data(), wide.c_str(), back.size());
  if (back.c_str() == given && Ostrum::Utf8FromWide(wide, converted)) text = converted;
}
