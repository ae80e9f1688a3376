#include "log_lines.h"

#include <exception>
#include <iostream>

#include "output.h"
#include "text.h"

LogLines::LogLines(int shownLevel) : level(shownLevel) {
  if (level > 0) corekit::SetLogSink(Receive, this);
}

LogLines::~LogLines() { corekit::SetLogSink(nullptr, nullptr); }

void LogLines::Receive(void* self, corekit::LogKind kind, const wchar_t* component, const wchar_t* text) {
  try {
    static_cast<LogLines*>(self)->Show(kind, component, text);
  } catch (const std::exception&) { // a sink must not throw; a line that there is no memory for is lost
  }
}

void LogLines::Show(corekit::LogKind kind, const wchar_t* component, const wchar_t* text) {
  const bool isTrace = kind == corekit::LogKind::TraceEnter || kind == corekit::LogKind::TraceLeave;
  if (isTrace && level < 2) return;
  if (kind == corekit::LogKind::TraceLeave && depth > 0) --depth;
  std::string line(2 * depth, ' ');
  if (kind == corekit::LogKind::TraceEnter) line += "> ";
  if (kind == corekit::LogKind::TraceLeave) line += "< ";
  if (kind == corekit::LogKind::TraceEnter) ++depth;
  line += OnOneLine(ToLocale(component) + ": " + ToLocale(text));
  const Colour colour = kind == corekit::LogKind::Error ? Colour::Red : Colour::Dim;
  std::cerr << Coloured(Stream::Error, colour, line) << '\n';
}
