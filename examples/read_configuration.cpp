// Reads single and repeated items of a configuration file by the functions, and checks every code.
//   read_configuration configuration.xml
#include <tarvik/tarvik.h>

#include <clocale>
#include <cstdio>

namespace {

// Prints an item's value, or why there is none: a read that finds nothing stores "Not Found", which
// could be a value as well.
bool PrintItem(XmlFileList* list, std::uint32_t cookie, const char* label, const char* path,
               const char* item, const char* attribute) {
  char value[256] = "";
  const char* const type = attribute == nullptr ? "ELEMENT" : "ATTRIBUTE";
  const auto code =
      GetXMLItem(list, cookie, path, item, type, attribute, type, value, sizeof value);
  if (code == XmlSuccess) std::printf("%s: %s\n", label, value);
  if (code == XmlNotFound) std::printf("%s is not set\n", label);
  return code == XmlSuccess || code == XmlNotFound;
}

bool PrintFolders(XmlFileList* list, std::uint32_t cookie) {
  char folders[260] = ""; // empty: below the root
  std::uint32_t code = OpenXMLGroup(list, cookie, "Folders", folders, sizeof folders);
  for (int i = 1; code == XmlSuccess; ++i) {
    char value[256] = "";
    code = EnumXMLItem(list, cookie, folders, "Folder", "ELEMENT", i, nullptr, "ELEMENT", value,
                       sizeof value);
    if (code == XmlSuccess) std::printf("folder: %s\n", value);
  }
  return code == XmlNotFound; // no such group, or the end of the enumeration
}

bool Print(XmlFileList* list, std::uint32_t cookie) {
  // Children of the root are read by the root's name. Deeper down, open a group first.
  if (!PrintItem(list, cookie, "name", "Configuration", "Name", nullptr)) return false;
  char network[260] = "";
  const auto code = OpenXMLGroup(list, cookie, "Network", network, sizeof network);
  if (code == XmlSuccess && (!PrintItem(list, cookie, "timeout", network, "Timeout", nullptr) ||
                             !PrintItem(list, cookie, "unit", network, "Timeout", "unit")))
    return false;
  return (code == XmlSuccess || code == XmlNotFound) && PrintFolders(list, cookie);
}

} // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "usage: read_configuration FILE\n");
    return 2;
  }
  std::setlocale(LC_ALL, ""); // all text is in the locale's character set

  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  if (InitXMLList(&list) != XmlSuccess) return 2;
  const auto code = OpenXML(list, arguments[1], XmlOpenAtOnce, 0, &cookie);
  if (code != XmlSuccess) std::fprintf(stderr, "%s: not opened (%u)\n", arguments[1], code);
  const bool isPrinted = code == XmlSuccess && Print(list, cookie);
  EndXMLList(&list); // closes every document
  return isPrinted ? 0 : 2;
}
