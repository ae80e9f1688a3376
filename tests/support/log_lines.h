// Captures what the library logs.
#ifndef TARVIK_TESTS_SUPPORT_LOG_LINES_H
#define TARVIK_TESTS_SUPPORT_LOG_LINES_H

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "corekit/corekit.h"

// Sets itself as the log sink for its lifetime. Use it on one thread only.
class LogLines {
 public:
  LogLines() noexcept { corekit::SetLogSink(&Receive, this); }
  ~LogLines() { corekit::SetLogSink(nullptr, nullptr); }
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  // The lines since the last call, oldest first, in UTF-8. An error line has "error: " in front, and a line of another
  // component than "Tarvik" that component and ": ".
  std::vector<std::string> Take() { return std::exchange(lines, {}); }
  // The traces since the last call: ">Name" for an entry, "<Name" for a return.
  std::vector<std::string> TakeTraces() { return std::exchange(traces, {}); }
  // Forgets both.
  void Clear() {
    lines.clear();
    traces.clear();
  }

 private:
  static void Receive(void* context, corekit::LogKind kind, const wchar_t* component, const wchar_t* text) {
    auto& self = *static_cast<LogLines*>(context);
    try {
      self.Keep(kind, component, text);
    } catch (const std::bad_alloc&) { // a test that takes the memory away loses the line
    }
  }

  void Keep(corekit::LogKind kind, const wchar_t* component, const wchar_t* text) {
    using corekit::LogKind;
    if (kind == LogKind::TraceEnter) {
      traces.push_back(">" + Utf8(text));
    } else if (kind == LogKind::TraceLeave) {
      traces.push_back("<" + Utf8(text));
    } else {
      const std::string from = Utf8(component);
      lines.push_back((kind == LogKind::Error ? "error: " : "") + (from == "Tarvik" ? "" : from + ": ") + Utf8(text));
    }
  }

  // For characters of one wide unit, which is all that tests log.
  static std::string Utf8(const wchar_t* text) {
    std::string bytes;
    for (; *text != L'\0'; ++text) {
      const auto unit = static_cast<char32_t>(*text);
      const auto tail = [unit](int shift) { return static_cast<char>(0x80 | ((unit >> shift) & 0x3F)); };
      if (unit < 0x80) {
        bytes += static_cast<char>(unit);
      } else if (unit < 0x800) {
        bytes += {static_cast<char>(0xC0 | (unit >> 6)), tail(0)};
      } else if (unit < 0x10000) {
        bytes += {static_cast<char>(0xE0 | (unit >> 12)), tail(6), tail(0)};
      } else {
        bytes += {static_cast<char>(0xF0 | (unit >> 18)), tail(12), tail(6), tail(0)};
      }
    }
    return bytes;
  }

  std::vector<std::string> lines;
  std::vector<std::string> traces;
};

#endif
