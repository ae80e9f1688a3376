// Conversions by the platform's functions, or in a call in UTF-8 by the document library's. Both
// measure first, because the results are arrays of exactly the converted length.
#include "text/convert.h"

#include <cassert>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/platform.h"
#include "text/log.h"

namespace {

// Measures first, then converts with one of platform's functions. Nothing if that fails.
template <class To, class From>
std::optional<std::basic_string<To>> Convert(std::size_t (*convert)(To*, const From*, std::size_t),
                                             const From* source) {
  const std::size_t length = convert(nullptr, source, 0);
  if (length == platform::conversionFailed) return std::nullopt;
  std::basic_string<To> result(length, To{});
  [[maybe_unused]] const std::size_t converted = convert(result.data(), source, length + 1);
  assert(converted == length);
  return result;
}

std::optional<std::string> FromWide(const std::wstring& source) {
  if (!platform::CurrentCharset().isForcedUtf8)
    return Convert(&platform::WideToMbs, source.c_str());
  std::string utf8;
  if (Ostrum::Utf8FromWide(source, utf8)) return utf8;
  errno = EILSEQ;
  return std::nullopt;
}

std::optional<std::wstring> ToWide(const char* source) {
  if (!platform::CurrentCharset().isForcedUtf8) return Convert(&platform::MbsToWide, source);
  if (Ostrum::IsUtf8(source)) return Ostrum::WideFromUtf8(source);
  errno = EILSEQ;
  return std::nullopt;
}

} // namespace

std::optional<std::string> ConvertToMultiByte(const std::wstring& source) {
  auto result = FromWide(source);
  if (!result)
    LogDetail(L"Failed to get the length of ", source.c_str(), L":  ", std::strerror(errno));
  return result;
}

std::optional<std::wstring> ConvertToUnicode(const char* source) {
  auto result = ToWide(source);
  if (!result) LogDetail(L"Failed to get the length of ", source, L":  ", std::strerror(errno));
  return result;
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
  auto result = ConvertToMultiByte(Ostrum::WideFromUtf8(utf8));
  if (result) text = converted = *std::move(result);
}

DocumentText::DocumentText(const char* localeText) {
  const std::string_view given(localeText);
  if (NeedsNoConversion(given) && Ostrum::IsUtf8(given)) {
    text = given;
    return;
  }
  const auto wide = ConvertToUnicode(localeText);
  if (wide && Ostrum::Utf8FromWide(*wide, converted)) text = converted;
}

ComparableText::ComparableText(const char* localeText) : isGiven(localeText != nullptr) {
  if (!isGiven) return;
  const std::string_view given(localeText);
  if (NeedsNoConversion(given)) {
    text = given;
    return;
  }
  const auto wide = ToWide(localeText);
  if (wide && FromWide(*wide) == given && Ostrum::Utf8FromWide(*wide, converted)) text = converted;
}
