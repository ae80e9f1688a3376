// Whatever the document library or a conversion throws, wherever: no exception leaves a function, the code and the line are
// the promised ones, the file stays whole, and the same call works the next time.
#include <gtest/gtest.h>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/generator.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "text/convert.h"

namespace {

std::string_view failingPlace; // fails once
enum Kind { BadAlloc, RuntimeError, Number } thrown;

bool Fails(std::string_view place) {
  if (place != failingPlace) return false;
  failingPlace = {};
  return true;
}

void ThrowIfWanted(std::string_view place) {
  if (!Fails(place)) return;
  if (thrown == BadAlloc) throw std::bad_alloc();
  if (thrown == RuntimeError) throw std::runtime_error("from below");
  throw 1;
}

} // namespace

// The linker leads each call here first; the build reads the names, each on a line of its own, from here. A member function
// is called as a function whose first argument is the object.
#define THROWS(symbol, place, Result, parameters, arguments) \
  Result Real##place parameters asm("__real_" #symbol);      \
  Result Wrapped##place parameters asm("__wrap_" #symbol);   \
  Result Wrapped##place parameters {                         \
    ThrowIfWanted(#place);                                   \
    return Real##place arguments;                            \
  }
using namespace Ostrum;
THROWS(_ZN6Ostrum8ParseXMLENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEiRNS_12PARSER_ERRORERiS8_, ParseXML,
       Document*, (std::string text, int length, PARSER_ERROR& error, int& line, int& column),
       (std::move(text), length, error, line, column))
THROWS(_ZNK6Ostrum8Document8GenerateEv, Generate, GeneratedText, (const Document* self), (self))
THROWS(_ZNK6Ostrum7Element12GetAttributeESt17basic_string_viewIcSt11char_traitsIcEE, GetAttribute, Attribute,
       (const Element* self, std::string_view name), (self, name))
THROWS(_ZN6Ostrum7Element15CreateAttributeESt17basic_string_viewIcSt11char_traitsIcEE, CreateAttribute, Attribute,
       (Element * self, std::string_view name), (self, name))
THROWS(_ZN6Ostrum7Element14AddElementIntoESt17basic_string_viewIcSt11char_traitsIcEE, AddElementInto, Element&,
       (Element * self, std::string_view name), (self, name))
THROWS(_ZN6Ostrum5Value3SetESt17basic_string_viewIcSt11char_traitsIcEE, ValueSet, void,
       (Value * self, std::string_view text), (self, text))
THROWS(_ZNK6Ostrum7Element8GetValueERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEm, GetValue, std::string_view,
       (const Element* self, std::string& scratch, std::size_t limit), (self, scratch, limit))
THROWS(_ZNK6Ostrum7Element19FirstChildWithValueESt17basic_string_viewIcSt11char_traitsIcEES4_S4_, FindByValue, Element&,
       (const Element* self, std::string_view name, std::string_view attribute, std::string_view value),
       (self, name, attribute, value))
THROWS(_ZN10LocaleTextC1ESt17basic_string_viewIcSt11char_traitsIcEE, ConvertName, void,
       (LocaleText * self, std::string_view name), (self, name))

namespace {

using Opened = const TestDocument&;

std::uint32_t OpenAnew(Opened document) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 7;
  InitXMLList(&list);
  const std::uint32_t code = OpenXML(list, document.Name().c_str(), 4, 0, &cookie);
  EXPECT_TRUE(code == 0 || cookie == 7U);
  EndXMLList(&list);
  return code;
}
std::uint32_t OpenGroup(Opened d, const char* path) {
  char id[260] = "";
  return OpenXMLGroup(d.list, d.cookie, path, id, sizeof id);
}
std::uint32_t Get(Opened d, const char* item, const char* type) {
  char value[260] = "";
  return GetXMLItem(d.list, d.cookie, "W\xC3\xB6rt", item, type, "k", type, value, sizeof value);
}
std::uint32_t SetA(Opened d) { return d.SetText("", "A", "v"); }
std::uint32_t SetK(Opened d) { return d.SetAttribute("B", "k", "w"); }

constexpr const char* setFailed = "error: Unknown error while setting xml";
constexpr const char* notOpened = ": unknown exception thrown while opening.";

const struct {
  const char* place;
  std::uint32_t (*call)(Opened);
  const char* line = nullptr; // that has this in it; null: of a set, which tells a lack of memory from the rest
  std::uint32_t code = 34;
} promises[] = {
    {"ParseXML", OpenAnew, notOpened},
    {"ConvertName", OpenAnew, notOpened},
    {"ConvertName", [](Opened d) { return OpenGroup(d, "B"); },
     "error: Unknown exception occurred while searching for the path in the root element", 0},
    {"FindByValue", [](Opened d) { return OpenGroup(d, "B&k=v"); },
     "error: Unknown exception occurred while searching for B&k=v", 3},
    {"GetValue", [](Opened d) { return Get(d, "A", "ELEMENT"); }, "Failed to get A: unknown exception thrown."},
    {"GetAttribute", [](Opened d) { return Get(d, "B", "ATTRIBUTE"); }, "Failed to get B: unknown exception thrown."},
    {"AddElementInto", [](Opened d) { return d.SetText("", "New", "v"); }},
    {"CreateAttribute", [](Opened d) { return d.SetAttribute("B", "n", "v"); }},
    {"ConvertName", [](Opened d) { return d.SetText("W\xC3\xB6rt", "A", "v"); }},
    {"GetAttribute", SetK},
    {"ValueSet", SetA},
    {"Generate", SetA},
};

TEST(FaultsFromBelow, EndInThePromisedCodeAndLine) {
  const LocaleGuard utf8("C.UTF-8");
  const std::string bytes = "<W\xC3\xB6rt><A>\xC3\xBC</A><B k='v'/><\xC3\xA4/></W\xC3\xB6rt>";
  for (const auto& [place, call, line, code] : promises) {
    for (const Kind kind : {BadAlloc, RuntimeError, Number}) {
      SCOPED_TRACE(std::string(place) + (line != nullptr ? line : " in a set") + ", kind " + std::to_string(kind));
      const TestDocument document(bytes);
      const bool isLack = line == nullptr && kind == BadAlloc;
      LogLines log;
      failingPlace = place;
      thrown = kind;
      EXPECT_EQ(call(document), isLack ? 1U : code);
      ASSERT_EQ(failingPlace, "") << "nothing failed";
      const std::string lines = testing::PrintToString(log.Take());
      const char* const setLine = isLack ? "error: Failed to allocate memory for tokens" : setFailed;
      EXPECT_NE(lines.find(line != nullptr ? line : setLine), lines.npos) << lines;
      EXPECT_EQ(document.Bytes(), bytes);
      EXPECT_EQ(document.FilesInFolder(), 1);
      EXPECT_EQ(call(document), 0U);
      EXPECT_EQ(document.Bytes() != bytes, line == nullptr || line == setFailed); // what a set failed to do is done
    }
  }
}

} // namespace
