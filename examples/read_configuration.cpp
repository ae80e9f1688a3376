// Reads single and repeated items of a configuration file.
//   read_configuration configuration.xml
#include <tarvik/tarvik.h>

#include <clocale>
#include <cstdio>

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "usage: read_configuration FILE\n");
    return 2;
  }
  std::setlocale(LC_ALL, ""); // all text is in the locale's character set

  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  if (InitXMLList(&list) != XmlSuccess) return 2;
  if (const auto code = OpenXML(list, arguments[1], 0, 0, &cookie); code != XmlSuccess) {
    std::fprintf(stderr, "%s: not opened (%u)\n", arguments[1], code);
    EndXMLList(&list);
    return 2;
  }

  // Children of the root are read by the root's name. Deeper down, open a group first.
  char value[256] = "";
  GetXMLItem(list, cookie, "Configuration", "Name", "ELEMENT", nullptr, "ELEMENT", value,
             sizeof value);
  std::printf("name: %s\n", value);

  char group[260] = ""; // empty: below the root
  if (OpenXMLGroup(list, cookie, "Network", group, sizeof group) == XmlSuccess) {
    GetXMLItem(list, cookie, group, "Timeout", "ELEMENT", nullptr, "ELEMENT", value, sizeof value);
    std::printf("timeout: %s", value);
    GetXMLItem(list, cookie, group, "Timeout", "ATTRIBUTE", "unit", "ATTRIBUTE", value,
               sizeof value);
    std::printf(" %s\n", value);
  }

  char folders[260] = "";
  OpenXMLGroup(list, cookie, "Folders", folders, sizeof folders);
  for (int i = 1; EnumXMLItem(list, cookie, folders, "Folder", "ELEMENT", i, nullptr, "ELEMENT",
                              value, sizeof value) == XmlSuccess;
       ++i) {
    std::printf("folder: %s\n", value);
  }
  EndXMLList(&list); // closes every document
}
