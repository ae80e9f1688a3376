// The character set of narrow text: UTF-8 or the locale's.
#ifndef TARVIK_HOST_COREKIT_TEXT_MODE_H
#define TARVIK_HOST_COREKIT_TEXT_MODE_H

#include <atomic>

#include "corekit/corekit.h"

namespace corekit {

// What SetUtf8 last said.
#ifdef _WIN32 // as for SinkIsSet
COREKIT_API bool COREKIT_CALL Utf8IsOn() noexcept;
#else
COREKIT_API extern std::atomic<bool> utf8IsOn;
inline bool Utf8IsOn() noexcept { return utf8IsOn.load(std::memory_order_relaxed); }
#endif

// Appends text that is in UTF-8, or else in the locale's character set, whatever SetUtf8 says now.
COREKIT_API void COREKIT_CALL AppendNarrow(KString& line, const char* text, bool isUtf8) noexcept;

} // namespace corekit

#endif
