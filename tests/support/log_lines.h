// Captures the library's log lines.
#ifndef TARVIK_TESTS_SUPPORT_LOG_LINES_H
#define TARVIK_TESTS_SUPPORT_LOG_LINES_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "corekit/corekit.h"
#include "host/ostrumxml/data/utf8.h"

// Is the log sink during its lifetime. For use on one thread only.
class LogLines {
 public:
  LogLines() noexcept { corekit::SetLogSink(&Receive, this); }
  ~LogLines() { corekit::SetLogSink(nullptr, nullptr); }
  LogLines(LogLines&&) = delete;

  // The lines since the last call, oldest first, in UTF-8. An error line has "error: " in front,
  // and a line of another component than "Tarvik" that component and ": ".
  std::vector<std::string> Take() { return std::exchange(lines, {}); }
  // The traces since the last call: ">Name" for an entry, "<Name" for a return.
  std::vector<std::string> TakeTraces() { return std::exchange(traces, {}); }

  std::function<void()> atEachLine; // called, if given, before a line or a trace is kept

 private:
  static void Receive(void* context, corekit::LogKind kind, const wchar_t* component,
                      const wchar_t* text) {
    using corekit::LogKind;
    auto& self = *static_cast<LogLines*>(context);
    const std::string from = Utf8(component) + ": ";
    if (self.atEachLine) self.atEachLine();
    if (kind == LogKind::TraceEnter || kind == LogKind::TraceLeave) {
      self.traces.push_back((kind == LogKind::TraceEnter ? ">" : "<") + Utf8(text));
    } else {
      self.lines.push_back((kind == LogKind::Error ? "error: " : "") +
                           (from == "Tarvik: " ? "" : from) + Utf8(text));
    }
  }
  static std::string Utf8(const wchar_t* text) {
    std::string bytes;
    return Ostrum::Utf8FromWide(text, bytes) ? bytes : "no text";
  }

  std::vector<std::string> lines;
  std::vector<std::string> traces;
};

#endif
