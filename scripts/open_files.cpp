// Reads file names from standard input, opens each file, and prints the result code and the name.
#include <clocale>
#include <cstdio>
#include <iostream>
#include <string>

#include "tarvik/tarvik.h"

int main() {
  std::setlocale(LC_ALL, "C.UTF-8");
  XmlFileList* list = nullptr;
  if (InitXMLList(&list) != XmlSuccess) return 2;
  for (std::string name; std::getline(std::cin, name);) {
    std::uint32_t cookie = 0;
    const std::uint32_t code = OpenXML(list, name.c_str(), XmlOpenAtOnce, 0, &cookie);
    if (code == XmlSuccess) CloseXML(list, cookie);
    std::printf("%u %s\n", static_cast<unsigned>(code), name.c_str());
  }
  EndXMLList(&list);
}
