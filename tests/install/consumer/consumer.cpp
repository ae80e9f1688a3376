// Opens the document named on the command line, changes one value and reads it back; fails when anything went wrong or when
// the library's log lines did not arrive.
#include <cstdio>
#include <cstring>

#include "corekit/corekit.h"
#include "tarvik/tarvik.h"

int main(int, char** arguments) {
  int lines = 0;
  corekit::SetLogSink(
      [](void* context, corekit::LogKind, const wchar_t*, const wchar_t*) { ++*static_cast<int*>(context); }, &lines);

  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  char value[32] = "";
  const bool done = InitXMLList(&list) == XmlSuccess && OpenXML(list, arguments[1], 0, 0, &cookie) == XmlSuccess &&
                    SetXMLItem(list, cookie, "Settings\\Window", "Width", "ELEMENT", "1024") == XmlSuccess &&
                    GetXMLItem(list, cookie, "Settings\\Window", "Width", "ELEMENT", nullptr, nullptr, value,
                               sizeof value) == XmlSuccess &&
                    EndXMLList(&list) == XmlSuccess && list == nullptr;
  std::printf("Width is \"%s\", %d log lines\n", value, lines);
  return done && std::strcmp(value, "1024") == 0 && lines > 0 ? 0 : 1;
}
