#ifndef TARVIK_QUERIES_PACKAGE_FILES_H
#define TARVIK_QUERIES_PACKAGE_FILES_H

#include <vector>

#include "tarvik/tarvik.h"

// Appends an entry of these two texts. False, files being as it was, when a standard exception prevents it.
bool AddFileListEntry(std::vector<FileListEntry>& files, const char* name, const char* hash);

#endif
