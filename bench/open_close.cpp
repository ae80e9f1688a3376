// Opening a file and closing it again, against building and releasing a tree of it.
#include <string>

#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

std::size_t CountPackages(const TarvikCatalog& catalog) {
  std::uint32_t count = 0;
  for (;;) {
    char group[260] = "";
    if (EnumXMLGroup(catalog.List(), catalog.Cookie(), "ProductPackage", count + 1, group, sizeof group) !=
        XmlSuccess) {
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
  const tinyxml2::XMLElement* package = catalog.document.RootElement()->FirstChildElement("ProductPackage");
  for (; package != nullptr; package = package->NextSiblingElement("ProductPackage")) ++count;
  return count;
}

std::size_t CountPackages(const LibXml2Catalog& catalog) {
  std::size_t count = 0;
  for (xmlNode* node = xmlDocGetRootElement(catalog.document.get())->children; node != nullptr; node = node->next) {
    if (xmlStrEqual(node->name, BAD_CAST "ProductPackage") != 0) ++count;
  }
  return count;
}

template <class Catalog>
void Register(const std::string& size, const char* library, const std::string& file) {
  benchmark::RegisterBenchmark(("open_close/" + size + "/" + library).c_str(), [file](benchmark::State& state) {
    for (auto _ : state) {
      Catalog catalog(file);
      benchmark::DoNotOptimize(catalog);
    }
  })->Unit(benchmark::kMicrosecond);
}

} // namespace

void RegisterOpenClose(const WorkFolder& folder) {
  const std::pair<const char*, std::size_t> sizes[] = {{"0.1MB", 100'000}, {"1MB", 1'000'000}, {"10MB", 10'000'000}};
  for (const auto& [size, bytes] : sizes) {
    const std::string file = folder.Write(std::string("open-") + size + ".xml", MakeCatalogOfSize(bytes));
    const std::size_t packages = CountPackages(TarvikCatalog(file));
    Require(packages > 0 && packages == CountPackages(PugiCatalog(file)), "pugixml counts other packages");
    Require(packages == CountPackages(TinyCatalog(file)), "TinyXML-2 counts other packages");
    Require(packages == CountPackages(LibXml2Catalog(file)), "libxml2 counts other packages");

    Register<TarvikCatalog>(size, "tarvik", file);
    Register<PugiCatalog>(size, "pugixml", file);
    Register<TinyCatalog>(size, "tinyxml2", file);
    Register<LibXml2Catalog>(size, "libxml2", file);
  }
}
