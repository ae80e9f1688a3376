// Sets an element's text, an attribute, and an item whose elements don't exist yet. Each set saves
// the file.
//   set_and_save configuration.xml
#include <tarvik/tarvik.h>

#include <clocale>
#include <cstdio>

namespace {

// Releases the list at the end of the scope.
struct FileList {
  FileList() { InitXMLList(&list); }
  ~FileList() { EndXMLList(&list); }
  FileList(const FileList&) = delete;
  FileList& operator=(const FileList&) = delete;

  XmlFileList* list = nullptr;
};

struct Change {
  const char* path;
  const char* item;
  const char* type;
  const char* value;
};

constexpr Change Changes[] = {
    {"Network", "Timeout", "ELEMENT", "30"},
    {"Network", "mode", "ATTRIBUTE", "passive"},
    {"Network\\Proxy", "User", "ELEMENT", "harbor"}, // created, in the line of its siblings
};

} // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "usage: set_and_save FILE\n");
    return 2;
  }
  std::setlocale(LC_ALL, "");

  const FileList files;
  std::uint32_t cookie = 0;
  if (const auto code = OpenXML(files.list, arguments[1], XmlOpenAtOnce, 0, &cookie);
      code != XmlSuccess) {
    std::fprintf(stderr, "%s: not opened (%u)\n", arguments[1], code);
    return 2;
  }
  for (const Change& change : Changes) {
    const auto code =
        SetXMLItem(files.list, cookie, change.path, change.item, change.type, change.value);
    if (code == XmlSuccess) continue;
    std::fprintf(stderr, "%s: %s\\%s not set (%u)\n", arguments[1], change.path, change.item, code);
    return 2;
  }
}
