#include "platform/charset.h"

#include <locale.h>

#include <atomic>

namespace platform {
namespace {

// The last code page and what was learnt about it, in one word so that threads need no lock.
struct Learnt {
  std::uint16_t codePage;
  Charset charset;
};
static_assert(std::atomic<Learnt>::is_always_lock_free);
constinit std::atomic<Learnt> lastLearnt{};

} // namespace

// The locale's own code page: the runtime's _mbs functions follow another one, which setlocale
// leaves as it is.
Charset AskForCharset() noexcept {
  const auto codePage = static_cast<std::uint16_t>(___lc_codepage_func());
  if (codePage == 0) return {PlainText::Ascii, true}; // the locale "C"
  Learnt known = lastLearnt.load(std::memory_order_relaxed);
  if (known.codePage != codePage) {
    known = {codePage, LearnCharset()};
    lastLearnt.store(known, std::memory_order_relaxed);
  }
  return known.charset;
}

} // namespace platform
