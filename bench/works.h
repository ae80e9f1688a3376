// The works that are measured. Each function writes its files, checks that all libraries give the
// same results on them, and registers its benchmarks as "work/size/variant/library"; what it made
// must live until they have run.
#ifndef TARVIK_BENCH_WORKS_H
#define TARVIK_BENCH_WORKS_H

#include <benchmark/benchmark.h>

#include <ctime>

#include "work_folder.h"

void RegisterOpenClose(const WorkFolder& folder);
void RegisterHeldMemory(const WorkFolder& folder);
void RegisterReadItem(const WorkFolder& folder);
void RegisterFileList(const WorkFolder& folder);
void RegisterDetectionWalk(const WorkFolder& folder);
void RegisterBeyondAscii(const WorkFolder& folder);
void RegisterShapes(const WorkFolder& folder); // which must outlive the run
// size: of the document, as shown; place: "disk" or "memory", where the folder's files live.
void RegisterSetAndSave(const WorkFolder& folder, const char* size, const char* place);
void RegisterLogCost(const WorkFolder& folder);

// Times only the given part of an iteration, in processor time. For benchmarks registered with
// UseManualTime().
template <class Work>
void TimePart(benchmark::State& state, Work work) {
  const std::clock_t start = std::clock();
  work();
  state.SetIterationTime(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
}

#endif
