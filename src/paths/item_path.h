// Paths: element names separated by "\", each optionally followed by an attribute filter, "&name=value".
#ifndef TARVIK_PATHS_ITEM_PATH_H
#define TARVIK_PATHS_ITEM_PATH_H

#include <cstdint>
#include <exception>

struct XmlFileRecord;

// Cuts the first token off source: token receives the text before the first separator, or all of source, cut to
// capacity - 1 bytes, when it holds none; it stays empty when the text before the separator does not fit. Returns the rest
// behind the separator, or null when there is none.
char* ReturnTokenFromString(const char* source, char* token, std::uint32_t capacity, const char* separator);

// 1 when the path begins with the root element's name (no separator need follow), else 0. 0 also when that could not be told;
// failure, if given, then receives what was thrown.
int IsRootInPath(const XmlFileRecord& record, const char* path, std::exception_ptr* failure = nullptr) noexcept;

// Writes the path without its first component into output, cut to capacity - 1 bytes. Throws std::bad_alloc.
void RemoveRootFromBeginningOfPath(const char* path, char* output, std::uint32_t capacity);

#endif
