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

// In bytes. Blocks are not counted at the allocator, since it does not know of those that a library maps itself.
struct Memory {
  std::size_t resident; // of the process, in the machine's memory
  std::size_t needed;   // the same once the allocator gave back what it kept for later
};

std::size_t Resident() {
  std::size_t pages = 0;
  std::size_t residentPages = 0;
  std::ifstream("/proc/self/statm") >> pages >> residentPages;
  return residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

template <class Catalog>
Memory HeldBy(const std::string& file) {
  const std::size_t before = Resident();
  const Catalog catalog(file);
  const std::size_t resident = Resident();
  malloc_trim(0);
  return {resident - before, Resident() - before};
}

Memory AskOtherProcess(const char* library, const std::string& file) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = "'" + program + "' --held-memory " + library + " '" + file + "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> answer(popen(command.c_str(), "r"), &pclose);
  Memory memory{};
  Require(answer != nullptr && std::fscanf(answer.get(), "%zu %zu", &memory.resident, &memory.needed) == 2,
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
  std::printf("%zu %zu\n", memory.resident, memory.needed);
}

void RegisterHeldMemory(const WorkFolder& folder) {
  const std::string file = folder.Write("memory-10MB.xml", MakeCatalogOfSize(10'000'000));
  for (const char* library : {"tarvik", "pugixml", "tinyxml2", "libxml2"}) {
    const auto measure = [library, file](benchmark::State& state) {
      Memory memory{};
      for (auto _ : state) memory = AskOtherProcess(library, file);
      state.counters["resident"] = static_cast<double>(memory.resident);
      state.counters["needed"] = static_cast<double>(memory.needed);
    };
    benchmark::RegisterBenchmark((std::string("held_memory/10MB/") + library).c_str(), measure)->Iterations(1);
  }
}
