// Walking over all pairs of detection entry and language package of a catalog.
#include <cstring>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

// Gives every pair to visit.
template <class Visit>
void WalkByTarvik(const TarvikCatalog& catalog, Visit visit) {
  DetectionPosition position = {1, 1, 1};
  DetectionInfo info;
  while (EnumDetectionInfo(catalog.List(), &catalog.Cookie(), position, &info) == XmlSuccess)
    visit(info);
}

void Fill(pugi::xml_node package, pugi::xml_node detection, pugi::xml_node language,
          DetectionInfo& info) {
  info.ProductVersion = detection.child_value("ProductVersion");
  info.ProductID = package.child_value("ProductID");
  info.LangID = language.child_value("LangID");
  info.PlatformID = detection.child_value("PlatformID");
  for (const pugi::xml_node setting : language.child("ExtraSettings").children("Setting")) {
    const char* const name = setting.attribute("Name").value();
    if (std::strcmp(name, "MinimumDATVersion") == 0) info.MinimumDATVersion = setting.child_value();
    if (std::strcmp(name, "EngineFile") == 0) info.EngineFile = setting.child_value();
  }
  info.Branch = language.attribute("Branch").value();
  info.PackageType = language.child_value("PackageType");
  info.Version = language.attribute("Version").value();
}

template <class Visit>
void WalkByHand(const PugiCatalog& catalog, Visit visit) {
  DetectionInfo info;
  for (const pugi::xml_node package :
       catalog.document.child("Catalog").children("ProductPackage")) {
    for (const pugi::xml_node detection : package.children("ProductDetection")) {
      const char* const branch = detection.attribute("Branch").value();
      for (const pugi::xml_node language : package.children("LangPackage")) {
        if (std::strcmp(language.attribute("Branch").value(), branch) != 0) continue;
        Fill(package, detection, language, info);
        visit(info);
      }
    }
  }
}

std::string Joined(const DetectionInfo& info) {
  std::string joined;
  for (const std::string* field : {&info.ProductVersion, &info.ProductID, &info.LangID,
                                   &info.PlatformID, &info.MinimumDATVersion, &info.Branch,
                                   &info.PackageType, &info.EngineFile, &info.Version}) {
    joined.append(*field).append("|");
  }
  return joined;
}

void MeasureFirst(benchmark::State& state, const std::string& file) {
  for (auto _ : state) {
    const TarvikCatalog catalog(file);
    TimePart(state, [&] {
      WalkByTarvik(catalog, [](const DetectionInfo& info) { benchmark::DoNotOptimize(&info); });
    });
  }
}

template <class Catalog, class Walk>
void Register(const std::string& name, const std::string& file, Walk walk) {
  benchmark::RegisterBenchmark(name.c_str(), [file, walk](benchmark::State& state) {
    const Catalog catalog(file);
    const auto walkOnce = [&] {
      walk(catalog, [](const DetectionInfo& info) { benchmark::DoNotOptimize(&info); });
    };
    walkOnce(); // so that Tarvik's groups are known
    for (auto _ : state) walkOnce();
  })->Unit(benchmark::kMicrosecond);
}

} // namespace

void RegisterDetectionWalk(const WorkFolder& folder) {
  for (const std::uint32_t packages : {1'000U, 10'000U}) {
    const std::string size = std::to_string(packages);
    const std::string file =
        folder.Write("walk-" + size + ".xml", MakeCatalog({.packages = packages}));
    std::vector<std::string> pairs;
    std::vector<std::string> pairsByHand;
    WalkByTarvik(TarvikCatalog(file),
                 [&](const DetectionInfo& info) { pairs.push_back(Joined(info)); });
    WalkByHand(PugiCatalog(file),
               [&](const DetectionInfo& info) { pairsByHand.push_back(Joined(info)); });
    Require(pairs.size() == packages * 3 && pairs == pairsByHand, "pugixml walks over other pairs");

    const std::string work = "detection_walk/" + size;
    benchmark::RegisterBenchmark((work + "/first/tarvik").c_str(),
                                 [file](benchmark::State& state) { MeasureFirst(state, file); })
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    Register<TarvikCatalog>(work + "/again/tarvik", file,
                            [](const auto& catalog, auto visit) { WalkByTarvik(catalog, visit); });
    Register<PugiCatalog>(work + "/pugixml-hand", file,
                          [](const auto& catalog, auto visit) { WalkByHand(catalog, visit); });
  }
}
