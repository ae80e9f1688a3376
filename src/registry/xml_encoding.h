#ifndef TARVIK_REGISTRY_XML_ENCODING_H
#define TARVIK_REGISTRY_XML_ENCODING_H

#include <cstdint>

#include "host/ostrumxml/encoding.h"

// Stores the encoding by which documents are read, always UTF-8, and returns 0. What the caller asked for is not looked at.
std::uint32_t GetXMLEncoding(std::uint32_t asked, Ostrum::UTF_ENCODINGS& encoding) noexcept;

#endif
