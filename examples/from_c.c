// Tarvik from C: prints the log, enumerates the folders of a configuration file, reads an item and an attribute, and sets one.
//   from_c configuration.xml
#include <corekit/corekit.h>
#include <tarvik/tarvik.h>

#include <locale.h>
#include <stdio.h>

static void PrintLine(void* stream, CorekitLogKind kind, const wchar_t* component, const wchar_t* text) {
  if (kind == CorekitDetail || kind == CorekitError) fprintf(stream, "%ls: %ls\n", component, text);
}

static uint32_t PrintFolders(XmlFileList* list, uint32_t cookie) {
  char group[260] = ""; // on entry the parent's group ID, empty for the root; on return the group's own
  uint32_t code = OpenXMLGroup(list, cookie, "Folders", group, sizeof group);
  for (int32_t n = 1; code == XmlSuccess; ++n) {
    char folder[256] = "";
    code = EnumXMLItem(list, cookie, group, "Folder", "ELEMENT", n, NULL, "ELEMENT", folder, sizeof folder);
    if (code == XmlSuccess) printf("folder: %s\n", folder);
    if (code == XmlNotFound) return XmlSuccess; // no more folders
  }
  return code;
}

static uint32_t PrintTimeout(XmlFileList* list, uint32_t cookie) {
  char group[260] = "";
  char timeout[64] = "";
  char unit[64] = "";
  uint32_t code = OpenXMLGroup(list, cookie, "Network", group, sizeof group);
  if (code == XmlSuccess) {
    code = GetXMLItem(list, cookie, group, "Timeout", "ELEMENT", NULL, "ELEMENT", timeout, sizeof timeout);
  }
  if (code == XmlSuccess) {
    code = GetXMLItem(list, cookie, group, "Timeout", "ATTRIBUTE", "unit", "ATTRIBUTE", unit, sizeof unit);
  }
  if (code == XmlSuccess) printf("timeout: %s %s\n", timeout, unit);
  return code;
}

int main(int argumentCount, char** arguments) {
  XmlFileList* list = NULL;
  uint32_t cookie = 0;
  if (argumentCount != 2) {
    fprintf(stderr, "usage: from_c FILE\n");
    return 2;
  }
  setlocale(LC_ALL, ""); // all text is in the locale's character set
  CorekitSetLogSink(PrintLine, stderr);

  uint32_t code = InitXMLList(&list);
  if (code == XmlSuccess) code = OpenXML(list, arguments[1], XmlOpenAtOnce, 0, &cookie);
  if (code == XmlSuccess) code = PrintFolders(list, cookie);
  if (code == XmlSuccess) code = PrintTimeout(list, cookie);
  if (code == XmlSuccess) code = SetXMLItem(list, cookie, "Network", "Timeout", "ELEMENT", "30"); // saves the file
  if (code != XmlSuccess) fprintf(stderr, "%s: failed (%u)\n", arguments[1], (unsigned)code);
  EndXMLList(&list); // closes every document
  return code == XmlSuccess ? 0 : 2;
}
