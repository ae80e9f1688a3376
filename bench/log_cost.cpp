// What logging costs: calls without a sink, and with one that does nothing.
#include <string>
#include <vector>

#include "catalog.h"
#include "corekit/corekit.h"
#include "open_catalog.h"
#include "works.h"

namespace {

void Ignore(void*, corekit::LogKind, const wchar_t*, const wchar_t*) {}

// Sets the sink for the length of a scope.
class SilentSink {
 public:
  explicit SilentSink(bool wanted) {
    if (wanted) corekit::SetLogSink(&Ignore, nullptr);
  }
  ~SilentSink() { corekit::SetLogSink(nullptr, nullptr); }
  SilentSink(const SilentSink&) = delete;
  SilentSink& operator=(const SilentSink&) = delete;
};

template <class Call>
void Register(const std::string& name, const std::string& file, Call call) {
  for (const bool withSink : {false, true}) {
    const std::string full = "log_cost/" + name + (withSink ? "/sink" : "/no-sink");
    benchmark::RegisterBenchmark(full.c_str(), [file, call, withSink](benchmark::State& state) {
      const TarvikCatalog catalog(file);
      call(catalog);
      const SilentSink sink(withSink);
      for (auto _ : state) {
        call(catalog);
        benchmark::ClobberMemory();
      }
    });
  }
}

} // namespace

void RegisterLogCost(const WorkFolder& folder) {
  const std::string file =
      folder.Write("log-cost.xml", MakeCatalog({.packages = 50, .filesOfFirst = 1'000}));

  const std::string small = folder.Write("log-cost-0.1MB.xml", MakeCatalogOfSize(100'000));
  Register("OpenXML and CloseXML", file, [small](const TarvikCatalog& catalog) {
    std::uint32_t cookie = 0;
    benchmark::DoNotOptimize(OpenXML(catalog.List(), small.c_str(), XmlOpenAtOnce, 0, &cookie));
    benchmark::DoNotOptimize(CloseXML(catalog.List(), cookie));
  });
  Register("OpenXMLGroup", file, [](const TarvikCatalog& catalog) {
    char group[260] = "";
    benchmark::DoNotOptimize(OpenXMLGroup(catalog.List(), catalog.Cookie(),
                                          "Catalog\\ProductPackage", group, sizeof group));
  });
  Register("GetXMLItem", file, [](const TarvikCatalog& catalog) {
    char value[260];
    benchmark::DoNotOptimize(GetXMLItem(catalog.List(), catalog.Cookie(), "Catalog", "Catalog",
                                        "ATTRIBUTE", "Version", "ATTRIBUTE", value, sizeof value));
  });
  Register("GetFileList", file, [](const TarvikCatalog& catalog) {
    std::vector<FileListEntry> files;
    benchmark::DoNotOptimize(GetFileList(catalog.List(), &catalog.Cookie(), &files));
  });
}
