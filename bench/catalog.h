// Catalog documents to measure with: the same text for the same shape on every machine.
#ifndef TARVIK_BENCH_CATALOG_H
#define TARVIK_BENCH_CATALOG_H

#include <cstddef>
#include <cstdint>
#include <string>

struct CatalogShape {
  std::uint32_t packages; // each with two detection entries and three language packages, which make
                          // three pairs
  std::uint32_t filesOfFirst = 4; // in the first language package of the first package
  std::uint32_t files = 4;        // in every other language package
};

std::string MakeCatalog(const CatalogShape& shape);

// A catalog of at least that many bytes, and at most one package more.
std::string MakeCatalogOfSize(std::size_t bytes);

#endif
