// Parts of the file functions that all systems share.
#ifndef TARVIK_PLATFORM_FILE_PARTS_H
#define TARVIK_PLATFORM_FILE_PARTS_H

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "platform/files.h"
#include "platform/platform.h"

namespace platform {

// A name for a temporary file, made unique by 64 random bits. Throws std::runtime_error.
inline std::string TemporaryName() {
  unsigned long long number = 0;
  if (!FillRandom(&number, sizeof number))
    throw std::runtime_error("no random name for a temporary file");
  char text[32];
  std::snprintf(text, sizeof text, ".tarvik-%016llx", number);
  return text;
}

// Whether every later change of a file is sure to change its times. After a save, which sets the
// modification time to stampedAt, that holds if the time was stored exactly. Other times come from
// a clock that may advance only every two seconds. All arguments are in the same unit.
inline bool IsSettled(const FileIdentity& identity, std::optional<std::int64_t> stampedAt,
                      std::int64_t now, std::int64_t second) noexcept {
  if (stampedAt) return identity.modified == *stampedAt;
  return std::max(identity.modified, identity.changed) <= now - 2 * second;
}

// Whether the last change, the later of the times that is not in the future, is less than two
// seconds old. All arguments are in the same unit.
inline bool IsYoung(const FileIdentity& identity, std::int64_t now, std::int64_t second) noexcept {
  const auto isRecent = [&](std::int64_t time) { return time <= now && time > now - 2 * second; };
  return isRecent(identity.modified) || isRecent(identity.changed);
}

// Reads to the end of a file of about that size. read(buffer, capacity) returns the number of bytes
// read, 0 at the end, or a negative number on failure. Reads through a small buffer, because
// resizing the string first would fill it with zeros and so touch all of its memory twice.
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
