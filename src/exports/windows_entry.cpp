// The entry point of tarvik.dll. All state lives in the callers' lists, so nothing is set up or
// torn down here.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD /*reason*/, LPVOID /*reserved*/) {
  return TRUE;
}
