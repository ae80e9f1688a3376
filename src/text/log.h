// The log of the library: every line goes out under one component name.
#ifndef TARVIK_TEXT_LOG_H
#define TARVIK_TEXT_LOG_H

#include <concepts>
#include <optional>

#include "host/corekit/private.h"
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

// Numbers of every width go through the builder's two appends. Narrow text is in the character set
// of the call.
void Append(corekit::KString& line, std::unsigned_integral auto number) noexcept {
  line << static_cast<unsigned long>(number);
}
void Append(corekit::KString& line, std::signed_integral auto number) noexcept {
  line << static_cast<long>(number);
}
inline void Append(corekit::KString& line, const wchar_t* text) noexcept { line << text; }
inline void Append(corekit::KString& line, const char* text) noexcept {
  corekit::AppendNarrow(line, text, platform::CurrentCharset().isForcedUtf8);
}

// Not inlined: only the test for a sink stands where a line is logged.
[[gnu::noinline, gnu::cold]] void Log(decltype(&corekit::logDetail) log, const wchar_t* component,
                                      const auto&... pieces) noexcept {
  corekit::KString line(L"");
  (Append(line, pieces), ...);
  log(component, line);
}

} // namespace log_detail

// Log one line, made of the pieces with nothing between them. Without a sink they cost one test.
void LogDetail(const auto&... pieces) noexcept {
  if (corekit::SinkIsSet()) log_detail::Log(&corekit::logDetail, logComponent, pieces...);
}

void LogError(const auto&... pieces) noexcept {
  if (corekit::SinkIsSet()) log_detail::Log(&corekit::logError, logComponent, pieces...);
}

// Logs why a call is refused. The line is the document library's, since those of this component are
// fixed.
void LogReason(const auto&... pieces) noexcept {
  if (corekit::SinkIsSet()) log_detail::Log(&corekit::logError, L"ostrumxml", pieces...);
}
inline constexpr const wchar_t* noMemoryReason = L"not enough memory";
inline constexpr const wchar_t* unknownReason = L"an unexpected exception";

#endif
