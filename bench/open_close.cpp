// Opening a file and closing it again, against building and releasing a tree of it; the first
// opening of a process, against the parser alone; and opening what is not in UTF-8.
#include <expat.h>

#include <algorithm>
#include <chrono>
#include <fstream>
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
    Catalog catalog(file);
    benchmark::DoNotOptimize(catalog);
  });
}

// The ways to open a file take turns, so that what else the machine does meets all of them alike;
// of each the least elapsed time counts.
struct Way {
  const char* name;
  double (*secondsOf)(const std::string& file);
  std::string file;
};

void RegisterInTurn(const std::string& name, const std::vector<Way>& ways) {
  benchmark::RegisterBenchmark(name.c_str(), [ways](benchmark::State& state) {
    std::vector<double> least(ways.size(), 1e9);
    for (auto _ : state) {
      for (std::size_t i = 0; i < ways.size(); ++i)
        least[i] = std::min(least[i], ways[i].secondsOf(ways[i].file));
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

void ParseByExpat(const std::string& file) {
  constexpr std::size_t pieceSize = 64 * 1024;
  const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), &XML_ParserFree);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"),
                                                               &std::fclose);
  const std::unique_ptr<char[]> piece(new char[pieceSize]);
  for (bool isLast = false; !isLast;) {
    const std::size_t length = std::fread(piece.get(), 1, pieceSize, stream.get());
    isLast = length < pieceSize;
    Require(XML_Parse(parser.get(), piece.get(), static_cast<int>(length), isLast) == XML_STATUS_OK,
            "Expat refuses");
  }
}

double SecondsOfExpat(const std::string& file) {
  return SecondsOf([&] { ParseByExpat(file); });
}

} // namespace

Figures OpenFirst(const std::vector<std::string>& arguments) {
  const std::string& file = arguments.at(1);
  if (arguments.at(0) == "expat") return {SecondsOfExpat(file)};
  return {SecondsToOpenAndClose<TarvikCatalog>(file)};
}

void RegisterOpenClose(const WorkFolder& folder) {
  const std::pair<const char*, std::size_t> sizes[] = {
      {"0.1MB", 100'000}, {"1MB", 1'000'000}, {"10MB", 10'000'000}};
  for (const auto& [size, bytes] : sizes) {
    const std::string file =
        folder.Write(std::string("open-") + size + ".xml", MakeCatalogOfSize(bytes));
    RequireEqualCounts(file);
    RegisterInTurn(std::string("open_close/") + size,
                   {{"tarvik", &SecondsToOpenAndClose<TarvikCatalog>, file},
                    {"pugixml", &SecondsToOpenAndClose<PugiCatalog>, file},
                    {"tinyxml2", &SecondsToOpenAndClose<TinyCatalog>, file},
                    {"libxml2", &SecondsToOpenAndClose<LibXml2Catalog>, file},
                    {"expat", &SecondsOfExpat, file}});
    RegisterInTurn(std::string("open_first/") + size,
                   {{"tarvik",
                     [](const std::string& name) {
                       return RunAlone("open-first", {"tarvik", name})[0];
                     },
                     file},
                    {"expat",
                     [](const std::string& name) {
                       return RunAlone("open-first", {"expat", name})[0];
                     },
                     file}});
  }
  RegisterOtherEncoding(folder);
}
