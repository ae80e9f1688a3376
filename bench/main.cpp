#include <libxml/parser.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>

#include "alone.h"
#include "works.h"

namespace {

void RunAll() {
  const WorkFolder folder(std::filesystem::temp_directory_path());
  RegisterOpenClose(folder);
  RegisterHeldMemory(folder);
  RegisterReadItem(folder);
  RegisterFileList(folder);
  RegisterDetectionWalk(folder);
  RegisterBeyondAscii(folder);
  RegisterSetAndSave(folder, "0.1MB", "disk");
  RegisterLogCost(folder);
  RegisterShapes(folder);

  std::unique_ptr<WorkFolder> inMemory;
  if (const char* memoryFiles = "/dev/shm"; std::filesystem::is_directory(memoryFiles)) {
    inMemory = std::make_unique<WorkFolder>(memoryFiles);
    for (const char* size : {"0.1MB", "10MB"}) RegisterSetAndSave(*inMemory, size, "memory");
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::ClearRegisteredBenchmarks();
}

} // namespace

// Takes Google Benchmark's options.
int main(int argc, char** argv) try {
  xmlInitParser();
  if (argc > 2 && std::string_view(argv[1]) == "--alone") {
    WorkAlone(argv[2], {argv + 3, argv + argc});
    return 0;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  RunAll();
  benchmark::Shutdown();
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "tarvik-bench: %s\n", failure.what());
  return 1;
}
