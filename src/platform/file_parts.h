// What the systems' files have in common.
#ifndef TARVIK_PLATFORM_FILE_PARTS_H
#define TARVIK_PLATFORM_FILE_PARTS_H

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "platform/files.h"
#include "platform/platform.h"

namespace platform {

// The name of a temporary file, with 64 random bits, so that no two are ever the same. Throws std::runtime_error.
inline std::string TemporaryName() {
  unsigned long long number = 0;
  if (!FillRandom(&number, sizeof number)) throw std::runtime_error("no random name for a temporary file");
  char text[32];
  std::snprintf(text, sizeof text, ".tarvik-%016llx", number);
  return text;
}

// Whether every later change of a file must show in its times. A save sets the time itself, to stampedAt, and needs to find it
// stored exactly; all other times come from a clock that can stand still for two seconds. All arguments are in the same unit.
inline bool IsSettled(const FileIdentity& identity, std::optional<std::int64_t> stampedAt, std::int64_t now,
                      std::int64_t second) noexcept {
  if (stampedAt) return identity.modified == *stampedAt;
  return std::max(identity.modified, identity.changed) + 2 * second <= now;
}

// Reads on until the end of a file of that size; read(buffer, capacity) gives a count, 0 at the end, or less on failure. Goes
// through a small buffer that is used again and again: growing the string to its length first would fill all of it with zeros,
// so that fresh memory is touched twice.
template <class Read>
ReadStatus ReadToEnd(Read read, std::uint64_t size, std::size_t limit, std::string& bytes) {
  const std::size_t mostBytes = std::min(limit, bytes.max_size());
  if (size > mostBytes) return ReadStatus::TooLong;
  char buffer[16'384];
  bytes.clear();
  bytes.reserve(static_cast<std::size_t>(size));
  PreferLargePages(bytes.data(), static_cast<std::size_t>(size));
  for (;;) {
    const auto count = read(buffer, sizeof buffer);
    if (count < 0) return ReadStatus::Unreadable;
    if (count == 0) return ReadStatus::Done;
    if (static_cast<std::size_t>(count) > mostBytes - bytes.size()) return ReadStatus::TooLong;
    bytes.append(buffer, static_cast<std::size_t>(count));
  }
}

} // namespace platform

#endif
