// The log of the library: every line goes out under one component name.
#ifndef TARVIK_TEXT_LOG_H
#define TARVIK_TEXT_LOG_H

#include <optional>
#include <type_traits>

#include "host/corekit/log_flag.h"
#include "host/corekit/text_mode.h"
#include "platform/charset.h"

inline constexpr const wchar_t* logComponent = L"Tarvik";

// Opens a scoped trace for the function that stands around it. Without a sink it costs one test at
// either end.
class Trace {
 public:
  explicit Trace(const wchar_t* function) noexcept {
    if (corekit::SinkIsSet()) Enter(function);
  }

 private:
  [[gnu::noinline, gnu::cold]] void Enter(const wchar_t* function) noexcept {
    trace.emplace(logComponent, function);
  }

  std::optional<corekit::KDetailTrace> trace;
};

namespace log_detail {

// Unsigned numbers of every width go through the builder's one unsigned append, signed ones through
// its signed one. Narrow text is in the character set of the call.
template <class Piece>
void Append(corekit::KString& line, const Piece& piece) noexcept {
  if constexpr (std::is_integral_v<Piece> && std::is_unsigned_v<Piece>) {
    line << static_cast<unsigned long>(piece);
  } else if constexpr (std::is_integral_v<Piece>) {
    line << static_cast<long>(piece);
  } else if constexpr (std::is_convertible_v<const Piece&, const char*>) {
    corekit::AppendNarrow(line, piece, platform::CurrentCharset().isForcedUtf8);
  } else {
    line << static_cast<const wchar_t*>(piece);
  }
}

// Not inlined: only the test for a sink stands where a line is logged.
template <class... Pieces>
[[gnu::noinline, gnu::cold]] void Log(void (*log)(const wchar_t* component, const wchar_t* line),
                                      const wchar_t* component, const Pieces&... pieces) noexcept {
  corekit::KString line(L"");
  (Append(line, pieces), ...);
  log(component, line);
}

} // namespace log_detail

// Log one line, made of the pieces with nothing between them. Without a sink they cost one test.
template <class... Pieces>
void LogDetail(const Pieces&... pieces) noexcept {
  if (corekit::SinkIsSet()) log_detail::Log(&corekit::logDetail, logComponent, pieces...);
}

template <class... Pieces>
void LogError(const Pieces&... pieces) noexcept {
  if (corekit::SinkIsSet()) log_detail::Log(&corekit::logError, logComponent, pieces...);
}

// Logs why a call is refused. The line is the document library's, since those of this component are
// fixed.
template <class... Pieces>
void LogReason(const Pieces&... pieces) noexcept {
  if (corekit::SinkIsSet()) log_detail::Log(&corekit::logError, L"ostrumxml", pieces...);
}
inline constexpr const wchar_t* noMemoryReason = L"not enough memory";
inline constexpr const wchar_t* unknownReason = L"an unexpected exception";

#endif
