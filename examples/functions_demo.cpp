// The functions in their shortest form: writes one item and reads another.
//   functions_demo configuration.xml
#include <tarvik/tarvik.h>

#include <cstdio>

int main(int, char** arguments) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  char name[64] = "";
  std::uint32_t code = InitXMLList(&list);
  if (code == XmlSuccess) code = OpenXML(list, arguments[1], XmlOpenAtOnce, 0, &cookie);
  if (code == XmlSuccess) code = SetXMLItem(list, cookie, "Network", "Timeout", "ELEMENT", "45");
  if (code == XmlSuccess)
    code = GetXMLItem(list, cookie, "Configuration", "Name", "ELEMENT", "", "", name, sizeof name);
  std::printf("%u %s\n", code, name);
  EndXMLList(&list);
  return code == XmlSuccess ? 0 : 1;
}
