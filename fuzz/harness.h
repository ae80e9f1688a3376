// What the fuzz targets share.
#ifndef TARVIK_FUZZ_HARNESS_H
#define TARVIK_FUZZ_HARNESS_H

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#define REQUIRE(condition)                                                 \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                        \
    }                                                                      \
  } while (false)

// The bytes of a file. The library reads and writes these instead of the disk's.
std::string& MemoryFile(const std::string& name);

#endif
