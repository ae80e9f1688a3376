// The memory that an open document holds.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

struct Memory {
  std::size_t heap;     // bytes that are allocated
  std::size_t resident; // bytes of the process that lie in the machine's memory
};

Memory Held() {
  const struct mallinfo2 heap = mallinfo2();
  std::size_t pages = 0;
  std::size_t residentPages = 0;
  std::ifstream("/proc/self/statm") >> pages >> residentPages;
  return {heap.uordblks + heap.hblkhd, residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))};
}

template <class Catalog>
Memory HeldBy(const std::string& file) {
  const Memory before = Held();
  const Catalog catalog(file);
  const Memory after = Held();
  return {after.heap - before.heap, after.resident - before.resident};
}

Memory AskOtherProcess(const char* library, const std::string& file) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = "'" + program + "' --held-memory " + library + " '" + file + "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> answer(popen(command.c_str(), "r"), &pclose);
  Memory memory{};
  Require(answer != nullptr && std::fscanf(answer.get(), "%zu %zu", &memory.heap, &memory.resident) == 2,
          "no answer about the memory held");
  return memory;
}

} // namespace

void PrintHeldMemory(std::string_view library, const std::string& file) {
  Memory memory{};
  if (library == "tarvik") memory = HeldBy<TarvikCatalog>(file);
  if (library == "pugixml") memory = HeldBy<PugiCatalog>(file);
  if (library == "tinyxml2") memory = HeldBy<TinyCatalog>(file);
  if (library == "libxml2") memory = HeldBy<LibXml2Catalog>(file);
  std::printf("%zu %zu\n", memory.heap, memory.resident);
}

void RegisterHeldMemory(const WorkFolder& folder) {
  const std::string file = folder.Write("memory-10MB.xml", MakeCatalogOfSize(10'000'000));
  for (const char* library : {"tarvik", "pugixml", "tinyxml2", "libxml2"}) {
    const auto measure = [library, file](benchmark::State& state) {
      Memory memory{};
      for (auto _ : state) memory = AskOtherProcess(library, file);
      state.counters["heap"] = static_cast<double>(memory.heap);
      state.counters["resident"] = static_cast<double>(memory.resident);
    };
    benchmark::RegisterBenchmark((std::string("held_memory/10MB/") + library).c_str(), measure)->Iterations(1);
  }
}
