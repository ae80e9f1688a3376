// Files that are only in memory, in the place of the disk's: the fuzz targets link these instead of the platform's.
#ifndef TARVIK_FUZZ_MEMORY_FILES_H
#define TARVIK_FUZZ_MEMORY_FILES_H

#include <map>
#include <string>

std::map<std::wstring, std::string>& MemoryFiles();

#endif
