// An open document and the list that holds it.
#ifndef TARVIK_REGISTRY_RECORD_H
#define TARVIK_REGISTRY_RECORD_H

#include <cstdint>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "paths/element_map.h"

// Size in bytes of internal buffers for names and paths: at most 259 bytes of text and a
// terminating zero.
inline constexpr std::uint32_t bufferSize = 260;

// Allocated zero-filled with calloc and released with free. Owns its document, the document's file
// its element map
// and the waiting sets.
struct XmlFileRecord {
  XmlFileRecord* prev;
  XmlFileRecord* next;
  char fileName[bufferSize]; // as given by the caller, cut to 259 bytes; only for matching and log
                             // lines
  std::uint32_t cookie;
  Ostrum::Document* document;
  Ostrum::DocumentFile* file;          // has the complete name
  Ostrum::PendingChanges* waitingSets; // those that have not reached the file; null until the first
  ElementMap* elementMap;              // has at least the root's entry once the record is in a list
  std::int32_t encrypted;              // nonzero: the file is read and written through the cipher
};

// One caller's open documents, oldest first. Allocated zero-filled with calloc and released with
// free.
struct XmlFileList {
  XmlFileRecord* head;
  XmlFileRecord* tail;
  std::uint32_t count;
};

#endif
