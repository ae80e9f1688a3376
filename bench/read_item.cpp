// Reading one item of a group that is known: by GetXMLItem, and by an XPath whose text is given
// each time.
#include <cstring>
#include <pugixml.hpp>
#include <string>

#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

constexpr const char* file = "read-item.xml";

// The third package's product, known by its group ID to Tarvik and by its node to pugixml.
struct KnownGroup {
  explicit KnownGroup(const std::string& name) : tarvik(name), pugi(name) {
    char id[260] = "";
    Require(EnumXMLGroup(tarvik.List(), tarvik.Cookie(), "ProductPackage", 3, id, sizeof id) ==
                XmlSuccess,
            "no group");
    group = id;
    node = pugi.document.select_node("/Catalog/ProductPackage[3]").node();
  }

  std::uint32_t ReadText(char (&value)[260]) const {
    return GetXMLItem(tarvik.List(), tarvik.Cookie(), group.c_str(), "ProductID", "ELEMENT",
                      nullptr, "ELEMENT", value, sizeof value);
  }

  TarvikCatalog tarvik;
  PugiCatalog pugi;
  std::string group;
  pugi::xml_node node;
};

void MeasureTarvik(benchmark::State& state, const std::string& name) {
  const KnownGroup known(name);
  char value[260];
  for (auto _ : state) {
    benchmark::DoNotOptimize(known.ReadText(value));
    benchmark::ClobberMemory();
  }
}

template <class Start>
void MeasureXPath(benchmark::State& state, const std::string& name, const char* path, Start start) {
  const KnownGroup known(name);
  const pugi::xml_node from = start(known);
  char value[260];
  for (auto _ : state) {
    std::strncpy(value, from.select_node(path).node().child_value(), sizeof value - 1);
    benchmark::DoNotOptimize(value);
    benchmark::ClobberMemory();
  }
}

} // namespace

void RegisterReadItem(const WorkFolder& folder) {
  const std::string name = folder.Write(file, MakeCatalog({.packages = 200}));
  const KnownGroup known(name);
  constexpr const char* fromRoot = "/Catalog/ProductPackage[3]/ProductID";
  char value[260];
  Require(known.ReadText(value) == XmlSuccess && value == std::string("PRODUCT_1003"),
          "another text read");
  Require(value == std::string(known.node.select_node("ProductID").node().child_value()),
          "XPath reads another text");
  Require(value == std::string(known.pugi.document.select_node(fromRoot).node().child_value()),
          "XPath reads another text");

  benchmark::RegisterBenchmark("read_item/tarvik",
                               [name](benchmark::State& state) { MeasureTarvik(state, name); });
  benchmark::RegisterBenchmark(
      "read_item/pugixml-xpath-from-node", [name](benchmark::State& state) {
        MeasureXPath(state, name, "ProductID", [](const KnownGroup& group) { return group.node; });
      });
  benchmark::RegisterBenchmark(
      "read_item/pugixml-xpath-from-root", [name](benchmark::State& state) {
        MeasureXPath(state, name, fromRoot,
                     [](const KnownGroup& group) { return group.pugi.document.root(); });
      });
}
