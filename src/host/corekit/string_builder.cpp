// Building log lines. Nothing here may throw: a line that cannot grow ends where the memory ended,
// since a handler of another failure may be what logs it.
#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>

#include "host/corekit/text_mode.h"
#include "platform/utf8.h"

namespace corekit {

constinit std::atomic<bool> utf8IsOn{false};

namespace {

constexpr wchar_t replacementCharacter = L'\xFFFD';

// Both convert the `size` bytes at text to at most `size` wide characters and return their number.
// Each invalid byte becomes a replacement character, so mbstowcs does not serve.
std::size_t WidenUtf8(const char* text, std::size_t size, wchar_t* target) noexcept {
  std::size_t count = 0;
  for (std::string_view rest(text, size); !rest.empty();) {
    auto [character, length] = platform::DecodeUtf8(rest);
    if (length == 0) {
      character = replacementCharacter;
      length = 1;
    }
    count += platform::StoreWide(character, target + count);
    rest.remove_prefix(length);
  }
  return count;
}

std::size_t WidenLocale(const char* text, std::size_t size, wchar_t* target) noexcept {
  std::mbstate_t state{};
  std::size_t count = 0;
  for (std::size_t at = 0; at < size; ++count) {
    const std::size_t length = std::mbrtowc(target + count, text + at, size - at, &state);
    if (length != 0 && length <= size - at) {
      at += length;
      continue;
    }
    target[count] = replacementCharacter;
    state = std::mbstate_t{};
    ++at;
  }
  return count;
}

// Without std::to_string, which can throw.
template <class Number>
void AppendDigits(KString& line, Number number) noexcept {
  char digits[24];
  static_assert(std::numeric_limits<Number>::digits10 + 3 <= sizeof digits,
                "plus a digit, a sign and the zero");
  *std::to_chars(digits, std::end(digits), number).ptr = '\0';
  line << digits;
}

} // namespace

// Makes room for `more` characters and the terminating zero. On failure returns false and ends the
// line, since nothing may be appended after a gap.
bool KString::Reserve(std::size_t more) noexcept {
  constexpr std::size_t maxCharacters =
      std::numeric_limits<std::size_t>::max() / 4 / sizeof(wchar_t);
  constexpr std::size_t firstCapacity = 128;
  if (more < capacity - length) return true;

  live = false;
  if (more >= maxCharacters - length) return false;
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
  if (size == 0 || !Reserve(size)) return;
  assert(length + size < capacity);
  std::wmemcpy(line + length, text, size);
  length += size;
  line[length] = L'\0';
}

void KString::Append(const char* text) noexcept { AppendNarrow(*this, text, Utf8IsOn()); }

void AppendNarrow(KString& line, const char* text, bool isUtf8) noexcept {
  if (text == nullptr || !line.live) return;
  const std::size_t size = std::strlen(text);
  if (size == 0 || !line.Reserve(size)) return;
  const auto widen = isUtf8 ? &WidenUtf8 : &WidenLocale;
  line.length += widen(text, size, line.line + line.length);
  assert(line.length < line.capacity);
  line.line[line.length] = L'\0';
}

void KString::Append(long number) noexcept { AppendDigits(*this, number); }

void KString::Append(unsigned long number) noexcept { AppendDigits(*this, number); }

void KString::Release() noexcept { std::free(line); }

void SetUtf8(bool isOn) noexcept { utf8IsOn.store(isOn, std::memory_order_relaxed); }

#ifdef _WIN32
bool Utf8IsOn() noexcept { return utf8IsOn.load(std::memory_order_relaxed); }
#endif

} // namespace corekit

void CorekitSetUtf8(int isOn) { corekit::SetUtf8(isOn != 0); }
