// The memory that an open document holds, and the most it took while it was opened.
#include <malloc.h>

#include "alone.h"
#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

constexpr std::uint32_t names = 1'000'000;

// Blocks are not counted at the allocator, since it does not know of those that a library maps
// itself.
template <class Catalog>
Figures HeldBy(const std::string& file) {
  const std::size_t before = Resident();
  const Catalog catalog(file);
  const std::size_t resident = Resident();
  const std::size_t most = MostResident();
  malloc_trim(0); // what the allocator only kept for later goes back
  return {static_cast<double>(resident - before), static_cast<double>(Resident() - before),
          static_cast<double>(most - before)};
}

void MeasureCatalog(benchmark::State& state, const std::string& library, const std::string& file,
                    std::size_t size) {
  Figures figures;
  for (auto _ : state) figures = RunAlone("hold", {library, file});
  state.counters["resident"] = figures[0];
  state.counters["needed"] = figures[1];
  state.counters["most"] = figures[2];
  state.counters["file"] = static_cast<double>(size);
}

// The names of elements, each of seven digits, all different or all the same.
std::string Elements(bool different) {
  std::string text = "<r>";
  for (std::uint32_t i = 0; i < names; ++i) {
    text += "<e" + std::to_string(1'000'000 + (different ? i : 0)) + "/>";
  }
  return text + "</r>";
}

void MeasureNames(benchmark::State& state, const std::string& different, const std::string& same) {
  double more = 0;
  for (auto _ : state)
    more = RunAlone("hold", {"tarvik", different})[1] - RunAlone("hold", {"tarvik", same})[1];
  state.counters["more"] = more;
  state.counters["names"] = names;
}

} // namespace

Figures HoldCatalog(const std::vector<std::string>& arguments) {
  const std::string& library = arguments.at(0);
  const std::string& file = arguments.at(1);
  if (library == "pugixml") return HeldBy<PugiCatalog>(file);
  if (library == "tinyxml2") return HeldBy<TinyCatalog>(file);
  if (library == "libxml2") return HeldBy<LibXml2Catalog>(file);
  return HeldBy<TarvikCatalog>(file);
}

void RegisterHeldMemory(const WorkFolder& folder) {
  const std::string catalog = MakeCatalogOfSize(10'000'000);
  const std::string file = folder.Write("memory-10MB.xml", catalog);
  for (const char* library : {"tarvik", "pugixml", "tinyxml2", "libxml2"}) {
    const auto measure = [library, file, size = catalog.size()](benchmark::State& state) {
      MeasureCatalog(state, library, file, size);
    };
    benchmark::RegisterBenchmark((std::string("held_memory/10MB/") + library).c_str(), measure)
        ->Iterations(1);
  }
  const std::string different = folder.Write("names.xml", Elements(true));
  const std::string same = folder.Write("same-names.xml", Elements(false));
  const auto measure = [different, same](benchmark::State& state) {
    MeasureNames(state, different, same);
  };
  benchmark::RegisterBenchmark("distinct_names", measure)->Iterations(1);
}
