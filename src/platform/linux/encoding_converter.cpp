// Encodings by iconv, one character at a time. Its state is reset before and flushed after each, so
// that a character never depends on the one before.
#include "platform/encoding_converter.h"

#include <iconv.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>

namespace platform {
namespace {

using Converter = std::shared_ptr<void>;

std::size_t Convert(const Converter& owner, std::string_view bytes, char* utf8,
                    std::size_t capacity) {
  const iconv_t converter = owner.get();
  char* input = const_cast<char*>(bytes.data()); // iconv's type; it is only read
  std::size_t left = bytes.size(), room = capacity;
  const bool converted = iconv(converter, &input, &left, &utf8, &room) == 0;
  // Some converters hold a letter back until they see what follows. This fetches it and resets the
  // converter.
  const bool flushed = iconv(converter, nullptr, nullptr, &utf8, &room) == 0;
  if (!flushed) iconv(converter, nullptr, nullptr, nullptr, nullptr); // discards what is held back
  if (!converted || !flushed) return 0;
  return capacity - room;
}

} // namespace

EncodingConverter OpenEncoding(const char* name) {
  const iconv_t opened = iconv_open("UTF-8", name);
  if (reinterpret_cast<std::intptr_t>(opened) != -1)
    return std::bind_front(&Convert, Converter(opened, &iconv_close));
  if (errno == ENOMEM) throw std::bad_alloc();
  return nullptr;
}

} // namespace platform
