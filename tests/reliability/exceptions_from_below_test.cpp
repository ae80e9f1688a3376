// Whatever the document library or a conversion throws, and wherever: no exception leaves a function, the code and the line
// are the promised ones, nothing reaches the disk, and the same call works the next time.
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "host/ostrumxml/parse.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

enum class Thrown { BadAlloc, RuntimeError, Number };
std::string_view throwingPlace; // throws once
Thrown thrown{};

void ThrowIfWanted(std::string_view place) {
  if (place != throwingPlace) return;
  throwingPlace = {};
  switch (thrown) {
    case Thrown::BadAlloc:
      throw std::bad_alloc();
    case Thrown::RuntimeError:
      throw std::runtime_error("from below");
    case Thrown::Number:
      throw 1;
  }
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
THROWS(_ZN6Ostrum8ParseXMLENS_12DocumentTextEiRNS_12PARSER_ERRORERiS3_, ParseXML, Document*,
       (DocumentText text, int length, PARSER_ERROR& error, int& line, int& column),
       (std::move(text), length, error, line, column))
THROWS(_ZNK6Ostrum8Document11GenerateXMLEb, GenerateXML, DocumentText, (const Document* self, bool layout),
       (self, layout))
THROWS(
    _ZN6Ostrum17WriteBufferToFileEPKwRKNS_12DocumentTextENS_13UTF_ENCODINGSEPFbRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEERSB_EPFbSD_E,
    WriteBufferToFile, void,
    (const wchar_t* name, const DocumentText& text, UTF_ENCODINGS encoding, ByteFilter encrypt, ByteCheck check),
    (name, text, encoding, encrypt, check))
THROWS(_ZNK6Ostrum7Element12GetAttributeEPKw, GetAttribute, Attribute, (const Element* self, const wchar_t* name),
       (self, name))
THROWS(_ZN6Ostrum7Element15CreateAttributeEPKw, CreateAttribute, Attribute, (Element * self, const wchar_t* name),
       (self, name))
THROWS(_ZN6Ostrum7Element14AddElementIntoEPKw, AddElementInto, Element&, (Element * self, const wchar_t* name),
       (self, name))
THROWS(_ZN6Ostrum7ElementcvNS_5ValueEEv, ElementValue, Value, (Element * self), (self))
THROWS(_ZNK6Ostrum9AttributecvNS_5ValueEEv, AttributeValue, Value, (const Attribute* self), (self))
THROWS(_ZN6Ostrum5Value3SetEPKw, ValueSet, void, (Value * self, const wchar_t* text), (self, text))
// Under every name and value that is not plain ASCII.
THROWS(_ZN6Ostrum12WideFromUtf8B5cxx11ESt17basic_string_viewIcSt11char_traitsIcEE, GetValue, std::wstring,
       (std::string_view utf8), (utf8))
THROWS(_Z18ConvertToMultiByteRKNSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEEE, ConvertName, char*,
       (const std::wstring& name), (name))

namespace {

std::uint32_t OpenAnew(const TestDocument& document) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  InitXMLList(&list);
  const std::uint32_t code = OpenXML(list, document.Name().c_str(), 4, 0, &cookie);
  EndXMLList(&list);
  return code;
}

std::uint32_t OpenGroup(const TestDocument& document, const char* path) {
  char id[260] = "";
  return OpenXMLGroup(document.list, document.cookie, path, id, sizeof id);
}

std::uint32_t Get(const TestDocument& document, const char* item, const char* type) {
  char value[260] = "";
  return GetXMLItem(document.list, document.cookie, "W\xC3\xB6rt", item, type, "k", type, value, sizeof value);
}

struct Promise {
  const char* place;
  std::uint32_t (*call)(const TestDocument&);
  std::uint32_t code, codeOfBadAlloc;
  const char* line;           // begins with this
  const char* lineOfBadAlloc; // null: the same
};
constexpr const char* setFailed = "error: Unknown error while setting xml";
constexpr const char* noMemory = "error: Failed to allocate memory for tokens";
constexpr const char* openFailed = ": unknown exception thrown while opening.";

const Promise promises[] = {
    {"ParseXML", OpenAnew, 34, 34, openFailed, nullptr},
    {"ConvertName", OpenAnew, 34, 34, openFailed, nullptr},
    {"GetAttribute", [](const TestDocument& d) { return OpenGroup(d, "B&k=v"); }, 3, 3,
     "error: Unknown exception occurred while searching for B&k=v", nullptr},
    {"ConvertName", [](const TestDocument& d) { return OpenGroup(d, "B"); }, 0, 0,
     "error: Unknown exception occurred while searching for the path in the root element", nullptr},
    {"GetValue", [](const TestDocument& d) { return OpenGroup(d, "\xC3\xA4"); }, 3, 3,
     "error: Unknown exception occurred while searching for \xC3\xA4", nullptr},
    {"GetValue", [](const TestDocument& d) { return Get(d, "A", "ELEMENT"); }, 34, 34,
     "Failed to get A: unknown exception thrown.", nullptr},
    {"GetAttribute", [](const TestDocument& d) { return Get(d, "B", "ATTRIBUTE"); }, 34, 34,
     "Failed to get B: unknown exception thrown.", nullptr},
    {"AddElementInto", [](const TestDocument& d) { return d.SetText("", "New", "v"); }, 34, 1, setFailed, noMemory},
    {"GetAttribute", [](const TestDocument& d) { return d.SetAttribute("B", "k", "v"); }, 34, 1, setFailed, noMemory},
    {"CreateAttribute", [](const TestDocument& d) { return d.SetAttribute("B", "n", "v"); }, 34, 1, setFailed,
     noMemory},
    {"ElementValue", [](const TestDocument& d) { return d.SetText("", "A", "v"); }, 34, 1, setFailed, noMemory},
    {"AttributeValue", [](const TestDocument& d) { return d.SetAttribute("B", "k", "v"); }, 34, 1, setFailed, noMemory},
    {"ValueSet", [](const TestDocument& d) { return d.SetText("", "A", "v"); }, 34, 1, setFailed, noMemory},
    {"GenerateXML", [](const TestDocument& d) { return d.SetText("", "A", "v"); }, 34, 1, setFailed, noMemory},
    {"WriteBufferToFile", [](const TestDocument& d) { return d.SetText("", "A", "v"); }, 34, 1, setFailed, noMemory},
    {"ConvertName", [](const TestDocument& d) { return d.SetText("W\xC3\xB6rt", "A", "v"); }, 34, 1, setFailed,
     noMemory},
    {"GetValue", [](const TestDocument& d) { return d.SetText("", "\xC3\xA4", "v"); }, 34, 1, setFailed, noMemory},
};

TEST(ExceptionsFromBelow, EndInThePromisedCodeAndLine) {
  const LocaleGuard utf8("C.UTF-8");
  const std::string bytes = "<W\xC3\xB6rt><A>\xC3\xBC</A><B k='v'/><\xC3\xA4/></W\xC3\xB6rt>";
  for (const Promise& promise : promises) {
    for (const Thrown kind : {Thrown::BadAlloc, Thrown::RuntimeError, Thrown::Number}) {
      SCOPED_TRACE(std::string(promise.place) + ", " + promise.line + ", " + std::to_string(static_cast<int>(kind)));
      const TestDocument document(bytes);
      const bool isBadAlloc = kind == Thrown::BadAlloc;
      const std::string line = isBadAlloc && promise.lineOfBadAlloc != nullptr ? promise.lineOfBadAlloc : promise.line;
      LogLines log;
      throwingPlace = promise.place;
      thrown = kind;
      EXPECT_EQ(promise.call(document), isBadAlloc ? promise.codeOfBadAlloc : promise.code);
      ASSERT_EQ(throwingPlace, "") << "nothing was thrown";
      const std::vector<std::string> lines = log.Take();
      EXPECT_TRUE(std::ranges::any_of(lines, [&](const std::string& each) { return each.find(line) != each.npos; }))
          << testing::PrintToString(lines);
      EXPECT_EQ(document.Bytes(), bytes);
      EXPECT_EQ(document.FilesInFolder(), 1U);
      EXPECT_EQ(promise.call(document), 0U);
    }
  }
}

} // namespace
