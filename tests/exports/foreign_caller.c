// A caller from another compiler family: in C, without a runtime library, linked with tarvik.lib and corekit.lib. Every
// function that is for all languages is called; the exit status is 0, or the number of the first call that gave a wrong code.
#include "corekit/corekit.h"
#include "tarvik/tarvik.h"

#define EXPECT(number, code, call) \
  if ((call) != (code)) return number

static void COREKIT_CALL CountLine(void* context, CorekitLogKind kind, const wchar_t* component, const wchar_t* text) {
  if (kind == CorekitDetail && component[0] != 0 && text[0] != 0) ++*(int*)context;
}

int Start(void) {
  static const uint8_t key[32] = {1};
  int lines = 0;
  XmlFileList* list = 0;
  uint32_t cookie = 7;
  uint32_t matches = 0;
  uint8_t enabled = 1;
  char text[8];
  text[0] = 0;
  CorekitSetCipherKey(key);
  CorekitSetLogSink(&CountLine, &lines);
  EXPECT(1, XmlSuccess, InitXMLList(&list));
  EXPECT(2, XmlFileNotFound, OpenXML(list, "no such file", 4, 0, &cookie));
  EXPECT(3, XmlNotFound, OpenXMLGroup(list, cookie, "A", text, sizeof text));
  EXPECT(4, XmlNotFound, EnumXMLGroup(list, cookie, "A", 1, text, sizeof text));
  EXPECT(5, XmlNotFound, GetXMLItem(list, cookie, "A", "B", "ELEMENT", 0, 0, text, sizeof text));
  EXPECT(6, XmlNotFound, EnumXMLItem(list, cookie, "A", "B", "ELEMENT", 1, 0, 0, text, sizeof text));
  EXPECT(7, XmlNotFound, SetXMLItem(list, cookie, "A", "B", "ELEMENT", "C"));
  EXPECT(8, XmlNotFound, IsRepositoryEnabled(list, &cookie, &enabled, 0, 0));
  EXPECT(9, 0, enabled);
  EXPECT(10, XmlNotFound, MatchXmlListToFileName(list, cookie, "A", &matches));
  EXPECT(11, XmlSuccess, CloseXML(list, cookie));
  EXPECT(12, XmlSuccess, EndXMLList(&list));
  EXPECT(13, 0, list != 0);
  EXPECT(14, 1, lines > 0);
  CorekitSetLogSink(0, 0);
  return 0;
}
