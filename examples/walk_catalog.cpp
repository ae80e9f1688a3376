// Prints a catalog's detection entries with the language packages of their branch, then the files
// of the first package.
//   walk_catalog catalog.xml
#include <tarvik/tarvik.h>

#include <clocale>
#include <cstdio>

namespace {

void PrintPairs(XmlFileList* list, std::uint32_t cookie) {
  DetectionPosition position = {1, 1, 1};
  DetectionInfo info;
  // The code is also "not found" for a pair without Version. At the end of the catalog, the last
  // position is 1.
  while (EnumDetectionInfo(list, &cookie, position, &info) == XmlSuccess || position[2] > 1) {
    std::printf("%s %s %s: %s, language %s\n", info.ProductID.c_str(), info.Branch.c_str(),
                info.PackageType.c_str(), info.Version.c_str(), info.LangID.c_str());
  }
}

void PrintFiles(XmlFileList* list, std::uint32_t cookie) {
  std::vector<FileListEntry> files;
  GetFileList(list, &cookie, &files);
  for (const auto& file : files) std::printf("%s %s\n", file.Hash.c_str(), file.Name.c_str());
}

} // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "usage: walk_catalog FILE\n");
    return 2;
  }
  std::setlocale(LC_ALL, "");

  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  if (InitXMLList(&list) != XmlSuccess) return 2;
  const auto code = OpenXML(list, arguments[1], XmlOpenAtOnce, 0, &cookie);
  if (code == XmlSuccess) {
    PrintPairs(list, cookie);
    PrintFiles(list, cookie);
  } else {
    std::fprintf(stderr, "%s: not opened (%u)\n", arguments[1], code);
  }
  EndXMLList(&list);
  return code == XmlSuccess ? 0 : 2;
}
