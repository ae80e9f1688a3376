// Reading FILE: a file, a pipe, or standard input.
#ifndef TARVIK_TOOLS_INPUT_H
#define TARVIK_TOOLS_INPUT_H

#include <memory>
#include <string>

#include "commands.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"

// Whether the bytes are those of an encrypted file, by their beginning.
bool IsEncrypted(const std::string& bytes);

// Whether the file, named in user text, is standard input, a pipe or a character device: it can be
// read once, and not replaced.
bool IsStream(const std::string& file);

// All bytes of a file of any kind, as they are. Throws CommandError or Ostrum::ReadFailure.
std::string ReadBytes(const std::string& file);

// Decrypts and decodes bytes as they are in FILE. Throws Ostrum::ReadFailure, and CommandError for
// bytes that are encrypted without a word of it in the options.
Ostrum::FileText Decode(std::string bytes, const Options& options);

// Throws Ostrum::ReadFailure with ReadBadEncoding, as for bytes that are not text, and the place.
std::unique_ptr<Ostrum::Document> Parse(std::string utf8);

// The document in a file of any kind. Throws as the above do.
std::unique_ptr<Ostrum::Document> ReadDocument(const std::string& file, const Options& options);

#endif
