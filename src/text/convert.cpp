#include "text/convert.h"

#include <cassert>
#include <cerrno>
#include <cstring>

#include "platform/platform.h"
#include "text/log.h"

namespace {

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
  return Convert(platform::WideToMbs, source.c_str(), L"multi-byte");
}

wchar_t* ConvertToUnicode(const char* source) {
  return Convert(platform::MbsToWide, source, L"unicode");
}

bool HasLocaleForm(std::string_view utf8) {
  return PassesAsItIs(utf8) || platform::WideToMbs(nullptr, Ostrum::WideFromUtf8(utf8).c_str(),
                                                   0) != platform::conversionFailed;
}

LocaleFilters::LocaleFilters() noexcept
    : withForm{platform::CurrentCharset().id, &HasLocaleForm},
      withoutForm{~withForm.id, [](std::string_view text) { return !HasLocaleForm(text); }},
      isNeeded(platform::CurrentCharset().plain != platform::PlainText::Utf8) {
  assert(withForm.id != 0 && withoutForm.id != 0);
}

const Ostrum::TextFilter* LocaleFilters::WithForm() const noexcept {
  if (!isNeeded) return nullptr;
  return &withForm;
}

const Ostrum::TextFilter& LocaleFilters::WithoutForm() const noexcept {
  assert(isNeeded);
  return withoutForm;
}

ComparableText::ComparableText(std::string_view localeText) {
  if (PassesAsItIs(localeText)) {
    text = localeText;
    return;
  }
  const std::string given(localeText);
  std::wstring wide(given.size() + 1, L'\0');
  const std::size_t wideLength = platform::MbsToWide(wide.data(), given.c_str(), wide.size());
  if (wideLength == platform::conversionFailed) return;
  wide.resize(wideLength);
  std::string back(given.size() + 1, '\0');
  const std::size_t length = platform::WideToMbs(back.data(), wide.c_str(), back.size());
  if (length != given.size() || !back.starts_with(given)) return;
  if (Ostrum::Utf8FromWide(wide, converted)) text = converted;
}

void LocaleText::Convert(std::string_view utf8) {
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
