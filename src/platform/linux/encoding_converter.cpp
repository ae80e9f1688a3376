// Encodings by iconv, one character at a time. Its state is reset before and flushed after each, so
// that a character never depends on the one before.
#include "platform/encoding_converter.h"

#include <iconv.h>

#include <cassert>
#include <cerrno>
#include <cstdint>
#include <new>

namespace platform {

EncodingConverter::EncodingConverter(const char* name) : handle(iconv_open("UTF-8", name)) {
  if (reinterpret_cast<std::intptr_t>(handle) != -1) return;
  if (errno == ENOMEM) throw std::bad_alloc();
  handle = nullptr;
}

EncodingConverter::~EncodingConverter() {
  if (handle != nullptr) iconv_close(handle);
}

std::size_t EncodingConverter::Convert(std::string_view bytes, char* utf8,
                                       std::size_t capacity) const noexcept {
  assert(IsKnown());
  char* input = const_cast<char*>(bytes.data()); // iconv's type; it is only read
  std::size_t left = bytes.size();
  char* output = utf8;
  std::size_t room = capacity;
  const bool converted = iconv(handle, &input, &left, &output, &room) == 0;
  // Some converters hold a letter back until they see what follows. This fetches it and resets the
  // converter.
  const bool flushed = iconv(handle, nullptr, nullptr, &output, &room) == 0;
  if (!flushed) iconv(handle, nullptr, nullptr, nullptr, nullptr); // discards what is held back
  return converted && flushed ? capacity - room : 0;
}

} // namespace platform
