#include "text/convert.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "text/log.h"

namespace {

// Measures first, then converts: by wcstombs or mbstowcs, which share their shape.
template <class To, class From>
To* Convert(std::size_t (*convert)(To*, const From*, std::size_t), const From* source,
            const wchar_t* target) {
  constexpr auto conversionError = static_cast<std::size_t>(-1);
  const std::size_t length = convert(nullptr, source, 0);
  if (length == conversionError) {
    LogDetail(L"Failed to get the length of ", source, L":  ", std::strerror(errno));
    return nullptr;
  }
  auto result = std::make_unique<To[]>(length + 1);
  if (convert(result.get(), source, length + 1) == conversionError) {
    LogDetail(L"Failed to convert ", source, L" to a ", target, L" string:  ",
              std::strerror(errno));
    return nullptr;
  }
  return result.release();
}

} // namespace

char* ConvertToMultiByte(const std::wstring& source) {
  return Convert(std::wcstombs, source.c_str(), L"multi-byte");
}

wchar_t* ConvertToUnicode(const char* source) { return Convert(std::mbstowcs, source, L"unicode"); }

bool HasLocaleForm(std::string_view utf8) {
  return PassesAsItIs(utf8) || std::wcstombs(nullptr, Ostrum::WideFromUtf8(utf8).c_str(), 0) !=
                                   static_cast<std::size_t>(-1);
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
