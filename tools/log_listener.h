// Listens to the library's log: keeps what the command needs of it, and shows it to a person who asked for it.
#ifndef TARVIK_TOOLS_LOG_LISTENER_H
#define TARVIK_TOOLS_LOG_LISTENER_H

#include <corekit/corekit.h>

#include <string>

class LogListener {
 public:
  // Level 0 shows nothing, 1 the lines, 2 the traces too, all on standard error.
  explicit LogListener(int shownLevel);
  ~LogListener();
  LogListener(const LogListener&) = delete;
  LogListener& operator=(const LogListener&) = delete;

  // The library's latest line.
  const std::wstring& LatestLine() const { return latestLine; }

  // What the document library said last: why it refused a document ("line:column: reason") or could not write a file.
  const std::wstring& Reason() const { return reason; }

 private:
  static void Receive(void* listener, corekit::LogKind kind, const wchar_t* component, const wchar_t* text);
  void Keep(corekit::LogKind kind, std::wstring_view component, const wchar_t* text);
  void Show(corekit::LogKind kind, const wchar_t* component, const wchar_t* text);

  int level;
  std::size_t depth = 0; // of the traces
  std::wstring latestLine;
  std::wstring reason;
};

#endif
