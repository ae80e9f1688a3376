#include "log_listener.h"

#include <exception>
#include <iostream>

#include "output.h"
#include "text.h"

LogListener::LogListener(int shownLevel) : level(shownLevel) { corekit::SetLogSink(Receive, this); }

LogListener::~LogListener() { corekit::SetLogSink(nullptr, nullptr); }

void LogListener::Receive(void* listener, corekit::LogKind kind, const wchar_t* component, const wchar_t* text) {
  auto& self = *static_cast<LogListener*>(listener);
  try {
    self.Keep(kind, component, text);
    self.Show(kind, component, text);
  } catch (const std::exception&) { // a sink must not throw; a line that there is no memory for is lost
  }
}

void LogListener::Keep(corekit::LogKind kind, std::wstring_view component, const wchar_t* text) {
  if (kind != corekit::LogKind::Detail && kind != corekit::LogKind::Error) return;
  (component == L"ostrumxml" ? reason : latestLine) = text;
}

void LogListener::Show(corekit::LogKind kind, const wchar_t* component, const wchar_t* text) {
  if (level == 0) return;
  const bool isTrace = kind == corekit::LogKind::TraceEnter || kind == corekit::LogKind::TraceLeave;
  if (isTrace && level < 2) return;
  if (kind == corekit::LogKind::TraceLeave && depth > 0) --depth;
  std::string line(2 * depth, ' ');
  if (kind == corekit::LogKind::TraceEnter) line += "> ";
  if (kind == corekit::LogKind::TraceLeave) line += "< ";
  if (kind == corekit::LogKind::TraceEnter) ++depth;
  line += ToLocale(component) + ": " + ToLocale(text);
  const Colour colour = kind == corekit::LogKind::Error ? Colour::Red : Colour::Dim;
  std::cerr << Coloured(Stream::Error, colour, line) << '\n';
}
