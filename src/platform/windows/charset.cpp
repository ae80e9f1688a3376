#include "platform/charset.h"

#include <locale.h>

#include <atomic>
#include <cstdint>

namespace platform {
namespace {

// The last code page and what was learnt about it, in one word so that threads need no lock.
std::atomic<std::uint32_t> lastLearnt{0};

constexpr std::uint32_t plainBit = 1;
constexpr std::uint32_t multiByteBit = 2;
constexpr std::uint32_t codePageShift = 2;

} // namespace

// The locale's own code page: the runtime's _mbs functions follow another one, which setlocale leaves as it is.
Charset AskForCharset() noexcept {
  const std::uint32_t codePage = ___lc_codepage_func();
  if (codePage == 0) return {CharsetKind::SingleByte, true}; // the locale "C"
  std::uint32_t known = lastLearnt.load(std::memory_order_relaxed);
  if (known >> codePageShift != codePage) {
    const Charset learnt = LearnCharset();
    known = (codePage << codePageShift) | (learnt.kind == CharsetKind::MultiByte ? multiByteBit : 0) |
            (learnt.asciiIsPlain ? plainBit : 0);
    lastLearnt.store(known, std::memory_order_relaxed);
  }
  return {(known & multiByteBit) != 0 ? CharsetKind::MultiByte : CharsetKind::SingleByte, (known & plainBit) != 0};
}

} // namespace platform
