// Paths: element names separated by "\", each optionally followed by an attribute filter,
// "&name=value".
#ifndef TARVIK_PATHS_ITEM_PATH_H
#define TARVIK_PATHS_ITEM_PATH_H

#include <string_view>

#include "registry/record.h"

// The text after the first separator, or null if there is none.
const char* ReturnTokenFromString(const char* text, char separator);

// Whether the path begins with the root element's name; no separator need follow. False if that
// name cannot be converted. Logs and throws std::bad_alloc.
bool IsRootInPath(const XmlFileRecord& record, const char* path);

// The path without its first component, whatever that is. Throws std::bad_alloc.
const char* RemoveRootFromBeginningOfPath(const char* path);

// The path without the root's name, truncated to 259 bytes and terminated: a part of the path
// itself, or in buffer. Throws std::bad_alloc.
std::string_view PathBelowRoot(const XmlFileRecord& record, const char* path,
                               char (&buffer)[bufferSize]);
// The same for a path from which nothing is to be removed.
std::string_view TruncateToBuffer(const char* path, char (&buffer)[bufferSize]) noexcept;

#endif
