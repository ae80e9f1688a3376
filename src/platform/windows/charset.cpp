#include <locale.h>

#include <atomic>

#include "platform/ascii_probe.h"
#include "platform/platform.h"

namespace platform {
namespace {

// The verdict on the last code page asked for, in one word so that threads need no lock: code page, verdict, a bit that
// tells it from nothing remembered.
std::atomic<std::uint32_t> lastVerdict{0};

constexpr std::uint32_t knownBit = 1;
constexpr std::uint32_t plainBit = 2;
constexpr std::uint32_t codePageShift = 2;

} // namespace

static bool AsciiIsPlain() noexcept {
  const std::uint32_t known = (static_cast<std::uint32_t>(___lc_codepage_func()) << codePageShift) | knownBit;
  const std::uint32_t last = lastVerdict.load(std::memory_order_relaxed);
  if ((last & ~plainBit) == known) return (last & plainBit) != 0;

  const bool plain = ProbeAsciiIsPlain();
  lastVerdict.store(known | (plain ? plainBit : 0), std::memory_order_relaxed);
  return plain;
}

// A locale of this runtime is never in UTF-8.
PlainText CurrentPlainText() noexcept { return AsciiIsPlain() ? PlainText::Ascii : PlainText::None; }

} // namespace platform
