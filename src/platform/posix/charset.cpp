#include "platform/charset.h"

#include <langinfo.h>

#include <cstring>

namespace platform {
namespace {

// Remembers the last one by its name: a locale's address says nothing, it can be freed and used again.
Charset RecallCharset(const char* codeset) noexcept {
  struct Memory {
    char codeset[64];
    Charset charset;
  };
  static thread_local constinit Memory memory{};
  if (std::strcmp(memory.codeset, codeset) == 0) return memory.charset;

  const Charset learnt = LearnCharset();
  const std::size_t length = std::strlen(codeset);
  if (length < sizeof memory.codeset) {
    std::memcpy(memory.codeset, codeset, length + 1);
    memory.charset = learnt;
  }
  return learnt;
}

} // namespace

Charset AskForCharset() noexcept {
  const char* codeset = nl_langinfo(CODESET);
  if (*codeset == 'U' && std::strcmp(codeset, "UTF-8") == 0) return {CharsetKind::Utf8, true};
  if (std::strcmp(codeset, "ANSI_X3.4-1968") == 0) return {CharsetKind::SingleByte, true};
  // An empty name would match the memory's initial state.
  return *codeset != '\0' ? RecallCharset(codeset) : LearnCharset();
}

} // namespace platform
