// Listing the files of a language package.
#include <libxml/xpath.h>

#include <memory>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

using Files = std::vector<FileListEntry>;

bool Same(const Files& left, const Files& right) {
  return std::equal(
      left.begin(), left.end(), right.begin(), right.end(),
      [](const auto& a, const auto& b) { return a.Name == b.Name && a.Hash == b.Hash; });
}

Files ByTarvik(const TarvikCatalog& catalog) {
  Files files;
  Require(GetFileList(catalog.List(), &catalog.Cookie(), &files) == XmlSuccess, "no files");
  return files;
}

Files ByHand(const PugiCatalog& catalog) {
  Files files;
  const pugi::xml_node language =
      catalog.document.child("Catalog").child("ProductPackage").child("LangPackage");
  for (const pugi::xml_node item : language.child("FileList").children("FileItem")) {
    files.push_back({item.child_value("Name"), item.child_value("Hash")});
  }
  return files;
}

std::string XPathOf(std::size_t number, const char* part) {
  return "/Catalog/ProductPackage[1]/LangPackage[1]/FileList[1]/FileItem[" +
         std::to_string(number) + "]/" + part;
}

Files ByXPath(const PugiCatalog& catalog) {
  Files files;
  for (std::size_t number = 1;; ++number) {
    const pugi::xpath_node name = catalog.document.select_node(XPathOf(number, "Name").c_str());
    if (!name) return files;
    const pugi::xpath_node hash = catalog.document.select_node(XPathOf(number, "Hash").c_str());
    files.push_back({name.node().child_value(), hash.node().child_value()});
  }
}

using XPathContext = std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)>;

std::string Text(const XPathContext& context, const std::string& path) {
  const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> result(
      xmlXPathEvalExpression(BAD_CAST path.c_str(), context.get()), &xmlXPathFreeObject);
  if (result == nullptr || xmlXPathNodeSetIsEmpty(result->nodesetval)) return {};
  const xmlNode* const text = result->nodesetval->nodeTab[0]->children;
  return reinterpret_cast<const char*>(text->content);
}

Files ByXPath(const LibXml2Catalog& catalog) {
  Files files;
  const XPathContext context(xmlXPathNewContext(catalog.document.get()), &xmlXPathFreeContext);
  for (std::size_t number = 1;; ++number) {
    std::string name = Text(context, XPathOf(number, "Name"));
    if (name.empty()) return files;
    files.push_back({std::move(name), Text(context, XPathOf(number, "Hash"))});
  }
}

// Every call on a document that was just opened: no group is known yet.
void MeasureFirst(benchmark::State& state, const std::string& file) {
  for (auto _ : state) {
    const TarvikCatalog catalog(file);
    Files files;
    TimePart(state, [&] { files = ByTarvik(catalog); });
    benchmark::DoNotOptimize(files);
  }
}

template <class Catalog>
void Register(const std::string& name, const std::string& file, Files (*list)(const Catalog&)) {
  benchmark::RegisterBenchmark(name.c_str(), [file, list](benchmark::State& state) {
    const Catalog catalog(file);
    benchmark::DoNotOptimize(list(catalog)); // so that Tarvik's groups are known
    for (auto _ : state) benchmark::DoNotOptimize(list(catalog));
  })->Unit(benchmark::kMicrosecond);
}

} // namespace

void RegisterFileList(const WorkFolder& folder) {
  for (const std::uint32_t count : {1'000U, 10'000U}) {
    const std::string size = std::to_string(count);
    const std::string file = folder.Write("files-" + size + ".xml",
                                          MakeCatalog({.packages = 10, .filesOfFirst = count}));
    const Files files = ByTarvik(TarvikCatalog(file));
    Require(files.size() == count && Same(files, ByHand(PugiCatalog(file))),
            "pugixml lists other files");

    const std::string work = "file_list/" + size;
    benchmark::RegisterBenchmark((work + "/first/tarvik").c_str(),
                                 [file](benchmark::State& state) { MeasureFirst(state, file); })
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    Register<TarvikCatalog>(work + "/again/tarvik", file, &ByTarvik);
    Register<PugiCatalog>(work + "/pugixml-hand", file, &ByHand);
    if (count != 1'000)
      continue; // item by item, XPath takes a hundred times as long for ten times the files
    Require(Same(files, ByXPath(PugiCatalog(file))), "pugixml's XPath lists other files");
    Require(Same(files, ByXPath(LibXml2Catalog(file))), "libxml2's XPath lists other files");
    Register<PugiCatalog>(work + "/pugixml-xpath", file, &ByXPath);
    Register<LibXml2Catalog>(work + "/libxml2-xpath", file, &ByXPath);
  }
}
