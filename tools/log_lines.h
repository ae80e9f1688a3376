// Shows the library's log lines on standard error.
#ifndef TARVIK_TOOLS_LOG_LINES_H
#define TARVIK_TOOLS_LOG_LINES_H

#include <corekit/corekit.h>

class LogLines {
 public:
  // Level 0 shows nothing, 1 the lines, 2 the traces too.
  explicit LogLines(int shownLevel);
  ~LogLines();
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

 private:
  static void Receive(void* self, corekit::LogKind kind, const wchar_t* component, const wchar_t* text);
  void Show(corekit::LogKind kind, const wchar_t* component, const wchar_t* text);

  int level;
  std::size_t depth = 0; // of the traces
};

#endif
