#include "registry/xml_encoding.h"

#include <string_view>

#include "text/log.h"

namespace {

struct NamedEncoding {
  std::string_view name;
  Ostrum::UTF_ENCODINGS encoding;
};

constexpr NamedEncoding encodings[] = {
    {"EBCDIC", Ostrum::EBCDIC},     {"UCS-4B", Ostrum::UCS_4B}, {"UCS-4L", Ostrum::UCS_4L},
    {"US-ASCII", Ostrum::US_ASCII}, {"UTF-8", Ostrum::UTF_8},   {"UTF-16B", Ostrum::UTF_16B},
    {"UTF-16L", Ostrum::UTF_16L},   {"", Ostrum::NO_ENCODING},
};

consteval Ostrum::UTF_ENCODINGS EncodingNamed(std::string_view name) {
  for (const NamedEncoding& candidate : encodings) {
    if (candidate.name == name) return candidate.encoding;
  }
  return Ostrum::NO_ENCODING;
}

} // namespace

std::uint32_t GetXMLEncoding(std::uint32_t, Ostrum::UTF_ENCODINGS& encoding) noexcept {
  const Trace trace(L"GetXMLEncoding");
  LogDetail(L"Returned encoding for UTF-8");
  encoding = EncodingNamed("UTF-8");
  return 0;
}
