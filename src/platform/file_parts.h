// Parts of the file functions that all systems share.
#ifndef TARVIK_PLATFORM_FILE_PARTS_H
#define TARVIK_PLATFORM_FILE_PARTS_H

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <type_traits>

#include "platform/files.h"
#include "platform/platform.h"

namespace platform {

// A hash that stays the same in all versions (FNV-1a).
template <class Character>
std::uint64_t HashName(std::basic_string_view<Character> name) noexcept {
  std::uint64_t hash = 14'695'981'039'346'656'037U;
  for (const Character character : name)
    hash = (hash ^ static_cast<std::make_unsigned_t<Character>>(character)) * 1'099'511'628'211U;
  return hash;
}

inline constexpr const char* temporaryPrefix = ".tarvik-";

// A name for a temporary file, which ends in the number's 16 hexadecimal digits.
inline std::string TemporaryName(std::uint64_t number) {
  char text[32];
  std::snprintf(text, sizeof text, "%s%016llx", temporaryPrefix,
                static_cast<unsigned long long>(number));
  return text;
}

// The same with 64 random bits. Throws std::system_error and std::bad_alloc.
inline std::string TemporaryName() {
  std::uint64_t number = 0;
  if (FillRandom(&number, sizeof number)) return TemporaryName(number);
  throw std::system_error(errno, std::generic_category(), "cannot generate a random name");
}

// By the system's most precise clock, in units of 100 nanoseconds since 1970, as all times of files
// here: some file systems store no finer ones.
inline constexpr std::int64_t second = 10'000'000;
inline std::int64_t CurrentTime() noexcept {
  using Units = std::chrono::duration<std::int64_t, std::ratio<1, second>>;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<Units>(now).count();
}

// The state of a file now. A save that sets the modification time gives it as stampedAt: a time
// that was stored exactly shows every later change. Other times come from a clock that may advance
// only every two seconds.
inline FileState StateNow(const FileIdentity& identity, std::shared_ptr<const Access> access,
                          std::optional<std::int64_t> stampedAt = {}) noexcept {
  const std::int64_t now = CurrentTime();
  const std::int64_t old = now - 2 * second;
  const auto isRecent = [&](std::int64_t time) { return time <= now && time > old; };
  FileState state{identity, std::move(access)};
  state.isSettled = std::max(identity.modified, identity.changed) <= old;
  if (stampedAt) state.isSettled = identity.modified == *stampedAt;
  state.isYoung = isRecent(identity.modified) || isRecent(identity.changed);
  return state;
}

// Reads to the end of a file of about that size. read(buffer, capacity) returns the number of bytes
// read, 0 at the end, or a negative number on failure. The string grows by pieces that stay in the
// processor's cache, because it fills each with zeros before they are read.
template <class Read>
ReadStatus ReadToEnd(Read read, std::uint64_t size, std::size_t limit, std::string& bytes) {
  constexpr std::size_t pieceSize = 262'144;
  const std::size_t maxBytes = std::min(limit, bytes.max_size() - 1);
  if (size > maxBytes) return ReadStatus::TooLong;
  bytes.clear();
  bytes.reserve(static_cast<std::size_t>(size) + 1); // one more, to notice the end
  PreferLargePages(bytes.data(), static_cast<std::size_t>(size));
  for (std::size_t length = 0; length <= maxBytes;) {
    bytes.resize(std::max(length + 1, std::min(length + pieceSize, bytes.capacity())));
    const auto count = read(bytes.data() + length, bytes.size() - length);
    if (count < 0) return ReadStatus::Unreadable;
    assert(static_cast<std::size_t>(count) <= bytes.size() - length);
    length += static_cast<std::size_t>(count);
    if (count != 0) continue;
    bytes.resize(length);
    return ReadStatus::Done;
  }
  return ReadStatus::TooLong;
}

} // namespace platform

#endif
