// Opening a file and closing it again, against building and releasing a tree of it; the first
// opening of a process, against the parser alone; and opening what is not in UTF-8.
#include <expat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>

#include "alone.h"
#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

std::size_t CountPackages(const TarvikCatalog& catalog) {
  std::uint32_t count = 0;
  for (;;) {
    char group[260] = "";
    if (EnumXMLGroup(catalog.List(), catalog.Cookie(), "ProductPackage", count + 1, group,
                     sizeof group) != XmlSuccess) {
      return count;
    }
    ++count;
  }
}

std::size_t CountPackages(const PugiCatalog& catalog) {
  const auto packages = catalog.document.child("Catalog").children("ProductPackage");
  return static_cast<std::size_t>(std::distance(packages.begin(), packages.end()));
}

std::size_t CountPackages(const TinyCatalog& catalog) {
  std::size_t count = 0;
  const tinyxml2::XMLElement* package =
      catalog.document.RootElement()->FirstChildElement("ProductPackage");
  for (; package != nullptr; package = package->NextSiblingElement("ProductPackage")) ++count;
  return count;
}

std::size_t CountPackages(const LibXml2Catalog& catalog) {
  std::size_t count = 0;
  for (xmlNode* node = xmlDocGetRootElement(catalog.document.get())->children; node != nullptr;
       node = node->next) {
    if (xmlStrEqual(node->name, BAD_CAST "ProductPackage") != 0) ++count;
  }
  return count;
}

template <class Work>
double SecondsOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

template <class Catalog>
double SecondsToOpenAndClose(const std::string& file) {
  return SecondsOf([&] {
    const Catalog catalog(file);
    benchmark::DoNotOptimize(&catalog);
  });
}

// The C library sorts what was freed at the next large request. This lets whoever freed it pay, not
// the next to take a turn.
void SettleHeap() {
  void* volatile block = std::malloc(1 << 20);
  std::free(block);
}

// The ways to open a file take turns, so that what else the machine does meets all of them alike;
// of each the least elapsed time counts.
struct Way {
  const char* name;
  std::function<double(const std::string& file)> secondsOf;
  std::string file;
};

void RegisterInTurn(const std::string& name, const std::vector<Way>& ways) {
  benchmark::RegisterBenchmark(name.c_str(), [ways](benchmark::State& state) {
    std::vector<double> least(ways.size(), 1e9);
    for (auto _ : state) {
      for (std::size_t i = 0; i < ways.size(); ++i) {
        SettleHeap();
        least[i] = std::min(least[i], ways[i].secondsOf(ways[i].file));
      }
    }
    for (std::size_t i = 0; i < ways.size(); ++i) state.counters[ways[i].name] = least[i];
  })->Unit(benchmark::kMicrosecond);
}

void RequireEqualCounts(const std::string& file) {
  const std::size_t packages = CountPackages(TarvikCatalog(file));
  Require(packages > 0 && packages == CountPackages(PugiCatalog(file)),
          "pugixml counts other packages");
  Require(packages == CountPackages(TinyCatalog(file)), "TinyXML-2 counts other packages");
  Require(packages == CountPackages(LibXml2Catalog(file)), "libxml2 counts other packages");
}

// Two tellings of one catalog with a letter beyond ASCII in each package.
void RegisterOtherEncoding(const WorkFolder& folder) {
  std::string text = MakeCatalogOfSize(1'000'000);
  const auto replaceAll = [&text](std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
      text.replace(at, from.size(), to);
    }
  };
  replaceAll("Workstation", "W\xC3\xB6rkstation");
  const std::string utf8 = folder.Write("open-utf-8.xml", text);
  replaceAll("W\xC3\xB6rkstation", "W\xF6rkstation");
  replaceAll("encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\"");
  const std::string latin = folder.Write("open-latin-1.xml", text);
  RegisterInTurn("open_encoding/1MB", {{"latin1", &SecondsToOpenAndClose<TarvikCatalog>, latin},
                                       {"utf8", &SecondsToOpenAndClose<TarvikCatalog>, utf8}});
}

// Whether the file is well-formed.
bool ParseByExpat(const std::string& file) {
  constexpr std::size_t pieceSize = 64 * 1024;
  const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), &XML_ParserFree);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"),
                                                               &std::fclose);
  const std::unique_ptr<char[]> piece(new char[pieceSize]);
  for (bool isLast = false; !isLast;) {
    const std::size_t length = std::fread(piece.get(), 1, pieceSize, stream.get());
    isLast = length < pieceSize;
    if (XML_Parse(parser.get(), piece.get(), static_cast<int>(length), isLast) != XML_STATUS_OK)
      return false;
  }
  return true;
}

double SecondsOfExpat(const std::string& file) {
  return SecondsOf([&] { Require(ParseByExpat(file), "Expat refuses"); });
}

double SecondsToBeRefused(const std::string& file) {
  return SecondsOf([&] {
    XmlFileList* list = nullptr;
    std::uint32_t cookie = 0;
    InitXMLList(&list);
    Require(OpenXML(list, file.c_str(), XmlOpenAtOnce, 0, &cookie) == XmlOutOfMemory,
            "a malformed file opens");
    EndXMLList(&list);
  });
}

double SecondsOfExpatToRefuse(const std::string& file) {
  return SecondsOf([&] { Require(!ParseByExpat(file), "Expat accepts a malformed file"); });
}

std::string Repeat(std::string_view begin, std::string_view unit, std::string_view end) {
  std::string text(begin);
  while (text.size() < 10'000'000) text += unit;
  return text.append(end);
}

// Texts of 10 MB whose bytes are mostly of one kind.
void RegisterTexts(const WorkFolder& folder) {
  const struct {
    const char *name, *begin, *unit, *end;
  } texts[] = {
      {"attributes", "<r>",
       "<point x='12.5' y='17.25' label=\"a point of the line\" visible='true' color='#1f6feb'/>\n",
       "</r>"},
      {"text", "<r>",
       "<p>What is written here goes on for a line or two, as it does in a book. Most of such a "
       "file is text that has neither tags nor references\nin it, and one line follows the "
       "other.</p>\n",
       "</r>"},
      {"tags", "<r>", "<a><b/><c></c></a>", "</r>"},
      {"cyrillic", "<r>",
       "<p>\xD0\xA1\xD1\x8A\xD0\xB5\xD1\x88\xD1\x8C \xD0\xB6\xD0\xB5 "
       "\xD0\xB5\xD1\x89\xD1\x91 \xD1\x8D\xD1\x82\xD0\xB8\xD1\x85 "
       "\xD0\xBC\xD1\x8F\xD0\xB3\xD0\xBA\xD0\xB8\xD1\x85 "
       "\xD0\xB1\xD1\x83\xD0\xBB\xD0\xBE\xD0\xBA</p>\n",
       "</r>"},
      {"chinese", "<r>",
       "<p>\xE5\xA4\xA9\xE5\x9C\xB0\xE7\x8E\x84\xE9\xBB\x84\xEF\xBC\x8C"
       "\xE5\xAE\x87\xE5\xAE\x99\xE6\xB4\xAA\xE8\x8D\x92\xE3\x80\x82</p>\n",
       "</r>"},
      {"references", "<r><p>", "a &lt;b&gt; &amp; &#99; ", "</p></r>"},
      {"comments", "<r><!--", "a - b -> c ] <d> ", "--></r>"},
      {"cdata", "<r><![CDATA[", "a[b[0]] < c[1] ]> ", "]]></r>"},
  };
  for (const auto& [name, begin, unit, end] : texts) {
    const std::string file =
        folder.Write(std::string("open-") + name + ".xml", Repeat(begin, unit, end));
    RegisterInTurn(std::string("open_text/") + name,
                   {{"tarvik", &SecondsToOpenAndClose<TarvikCatalog>, file},
                    {"expat", &SecondsOfExpat, file}});
  }
  const std::string file =
      folder.Write("open-malformed.xml", MakeCatalogOfSize(10'000'000) + "<a/>");
  RegisterInTurn("open_text/malformed",
                 {{"tarvik", &SecondsToBeRefused, file}, {"expat", &SecondsOfExpatToRefuse, file}});
}

struct Opening {
  const char* library;
  double (*secondsOf)(const std::string& file);
};
constexpr Opening openings[] = {{"tarvik", &SecondsToOpenAndClose<TarvikCatalog>},
                                {"pugixml", &SecondsToOpenAndClose<PugiCatalog>},
                                {"pugixml-full", &SecondsToOpenAndClose<FullPugiCatalog>},
                                {"tinyxml2", &SecondsToOpenAndClose<TinyCatalog>},
                                {"libxml2", &SecondsToOpenAndClose<LibXml2Catalog>},
                                {"expat", &SecondsOfExpat}};

// The same ways, each opening in a process of its own.
void RegisterFirst(const std::string& name, const std::string& file) {
  std::vector<Way> ways;
  for (const auto& [library, secondsOf] : openings) {
    ways.push_back({library,
                    [library](const std::string& opened) {
                      return RunAlone("open-first", {library, opened})[0];
                    },
                    file});
  }
  RegisterInTurn(name, ways);
}

} // namespace

Figures OpenFirst(const std::vector<std::string>& arguments) {
  const auto* const opening = std::ranges::find_if(
      openings, [&](const Opening& each) { return each.library == arguments.at(0); });
  Require(opening != std::end(openings), "no library " + arguments.at(0));
  return {opening->secondsOf(arguments.at(1))};
}

void RegisterOpenClose(const WorkFolder& folder) {
  const std::pair<const char*, std::size_t> sizes[] = {
      {"0.1MB", 100'000}, {"1MB", 1'000'000}, {"10MB", 10'000'000}};
  for (const auto& [size, bytes] : sizes) {
    const std::string file =
        folder.Write(std::string("open-") + size + ".xml", MakeCatalogOfSize(bytes));
    RequireEqualCounts(file);
    std::vector<Way> ways;
    for (const auto& [library, secondsOf] : openings) ways.push_back({library, secondsOf, file});
    RegisterInTurn(std::string("open_close/") + size, ways);
    RegisterFirst(std::string("open_first/") + size, file);
  }
  RegisterTexts(folder);
  RegisterOtherEncoding(folder);
}
