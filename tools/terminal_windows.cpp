#include <windows.h>

#include "terminal.h"

#ifndef ENABLE_VIRTUAL_TERMINAL_PROCESSING // absent from older SDKs
#define ENABLE_VIRTUAL_TERMINAL_PROCESSING 0x0004
#endif

bool IsColourTerminal(Stream stream) {
  const HANDLE console = GetStdHandle(stream == Stream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode) == 0) return false;
  return SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}
