// Building log lines. Nothing here may throw: a line that cannot grow ends where the memory ended,
// since a handler of another failure may be what logs it.
#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>

#include "host/corekit/private.h"
#include "platform/character.h"

namespace corekit {
namespace {

constinit std::atomic<bool> utf8IsOn{false};

// Without std::to_string, which can throw.
template <class Number>
void AppendDigits(KString& line, Number number) noexcept {
  char digits[24]{};
  static_assert(std::numeric_limits<Number>::digits10 + 3 <= sizeof digits,
                "plus a digit, a sign and the zero");
  std::to_chars(digits, std::end(digits), number);
  line << digits;
}

} // namespace

// Makes room for `more` characters and the terminating zero. On failure returns false and ends the
// line, since nothing may be appended after a gap.
bool KString::Reserve(std::size_t more) noexcept {
  constexpr std::size_t firstCapacity = 128, maxCapacity = SIZE_MAX / 4 / sizeof(wchar_t);
  if (more < capacity - length) return true;

  live = false;
  if (more >= maxCapacity - length) return false;
  // Doubled, so that a line of many pieces is copied only a few times.
  const std::size_t newCapacity = std::max({firstCapacity, capacity * 2, length + more + 1});
  auto* const grown = static_cast<wchar_t*>(std::realloc(line, newCapacity * sizeof(wchar_t)));
  if (grown == nullptr) return false;
  line = grown;
  capacity = newCapacity;
  live = true;
  return true;
}

void KString::Append(const wchar_t* text) noexcept {
  if (text == nullptr) return;
  const std::size_t size = std::wcslen(text);
  if (!Reserve(size)) return;
  assert(length + size < capacity);
  std::wmemcpy(line + length, text, size + 1);
  length += size;
}

void KString::Append(const char* text) noexcept { AppendNarrow(*this, text, Utf8IsOn()); }

// Each invalid byte becomes a replacement character, so mbstowcs does not serve.
void AppendNarrow(KString& line, const char* text, bool isUtf8) noexcept {
  if (text == nullptr || !line.live) return;
  std::string_view rest(text);
  if (!line.Reserve(rest.size())) return; // no character has fewer bytes than wide units
  while (!rest.empty()) {
    auto [character, length] = platform::Decode(rest, isUtf8);
    if (length == 0) {
      character = U'\uFFFD';
      length = 1;
    }
    line.length += platform::StoreWide(character, line.line + line.length);
    rest.remove_prefix(length);
  }
  assert(line.length < line.capacity);
  line.line[line.length] = L'\0';
}

void KString::Append(long number) noexcept { AppendDigits(*this, number); }

void KString::Append(unsigned long number) noexcept { AppendDigits(*this, number); }

void KString::Release() noexcept { std::free(line); }

void SetUtf8(bool isOn) noexcept { utf8IsOn.store(isOn, std::memory_order_relaxed); }

bool Utf8IsOn() noexcept { return utf8IsOn.load(std::memory_order_relaxed); }

} // namespace corekit

void CorekitSetUtf8(int isOn) { corekit::SetUtf8(isOn != 0); }
