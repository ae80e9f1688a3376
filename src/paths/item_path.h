// Paths: element names separated by "\", each optionally followed by an attribute filter,
// "&name=value".
#ifndef TARVIK_PATHS_ITEM_PATH_H
#define TARVIK_PATHS_ITEM_PATH_H

#include <cstdint>
#include <exception>
#include <string_view>

#include "registry/record.h"

// Cuts the first token off source: token receives the text before the first separator, or all of
// source, cut to capacity - 1 bytes, when it holds none; it stays empty when the text before the
// separator does not fit, and is not touched (and may be null) when capacity is 0. Returns the rest
// behind the separator, or null when there is none.
char* ReturnTokenFromString(const char* source, char* token, std::uint32_t capacity,
                            const char* separator);

// 1 when the path begins with the root element's name (no separator need follow), else 0. 0 also
// when that could not be told; failure, if given, then receives what was thrown.
int IsRootInPath(const XmlFileRecord& record, const char* path,
                 std::exception_ptr* failure = nullptr) noexcept;

// Writes the path without its first component into output, cut to capacity - 1 bytes. Throws
// std::bad_alloc.
void RemoveRootFromBeginningOfPath(const char* path, char* output, std::uint32_t capacity);

// The path without the root's name in front, cut to 259 bytes and terminated: either the path
// itself, where it is that already, or in buffer. Throws std::bad_alloc.
std::string_view PathBelowRoot(const XmlFileRecord& record, const char* path,
                               char (&buffer)[bufferSize]);
// The same for a path from which nothing is to be removed.
std::string_view CutToBufferSize(const char* path, char (&buffer)[bufferSize]) noexcept;

#endif
