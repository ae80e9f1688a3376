// Searching and reading text beyond ASCII in a UTF-8 locale, against as much plain text. The
// opening is not measured: names beyond ASCII are read by Expat, which is measured by itself.
#include <clocale>
#include <string>

#include "open_catalog.h"
#include "works.h"

namespace {

constexpr std::uint32_t count = 2'000;

struct Tongue {
  const char* label;
  const char* element;
  const char* item;
  const char* value;
};

// Equally many bytes in each.
constexpr Tongue ascii = {"ascii", "Entries", "Size__", "twelve bytes"};
constexpr Tongue german = {"beyond-ascii", "Eintr\xC3\xA4", "Gr\xC3\xB6\xC3\x9F",
                           "zw\xC3\xB6lf Bytes!"};

std::string DocumentIn(const Tongue& tongue) {
  const std::string element = tongue.element;
  const std::string item = tongue.item;
  std::string text = "<Root>";
  for (std::uint32_t i = 0; i < count; ++i) {
    text.append("<" + element + "><" + item + ">")
        .append(tongue.value)
        .append("</" + item + "></" + element + ">");
  }
  return text + "</Root>";
}

// Opens every element by its number and reads the item in it.
void ReadAll(const Tongue& tongue, const TarvikCatalog& document) {
  for (std::uint32_t i = 1; i <= count; ++i) {
    char group[260] = "";
    char value[260];
    EnumXMLGroup(document.List(), document.Cookie(), tongue.element, i, group, sizeof group);
    GetXMLItem(document.List(), document.Cookie(), group, tongue.item, "ELEMENT", nullptr, nullptr,
               value, sizeof value);
    Require(std::string(value) == tongue.value, std::string("another text read: ") + value);
  }
}

} // namespace

void RegisterBeyondAscii(const WorkFolder& folder) {
  for (const Tongue& tongue : {ascii, german}) {
    const std::string file = folder.Write(std::string(tongue.label) + ".xml", DocumentIn(tongue));
    benchmark::RegisterBenchmark((std::string("utf8_locale/") + tongue.label).c_str(),
                                 [tongue, file](benchmark::State& state) {
                                   Require(std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr,
                                           "no locale C.UTF-8");
                                   for (auto _ : state) {
                                     const TarvikCatalog document(file);
                                     TimePart(state, [&] { ReadAll(tongue, document); });
                                   }
                                   std::setlocale(LC_CTYPE, "C");
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
  }
}
