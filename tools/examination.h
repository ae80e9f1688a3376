#ifndef TARVIK_TOOLS_EXAMINATION_H
#define TARVIK_TOOLS_EXAMINATION_H

#include <memory>
#include <string>

#include "host/ostrumxml/document.h"

// What became of an attempt to read and parse a file.
struct Examination {
  long readResult = 0; // of the document library
  int line = 0;        // from 1; 0 where the place is not known
  int column = 0;      // from 1, in bytes
  std::string reason;  // empty for a well-formed file

  // ":2:6: mismatched tag", to follow the name of the file.
  std::string Complaint() const;
};
Examination Examine(const std::string& fileName, bool encrypted); // in the locale's character set

// Null, and why, where the text is not well-formed.
std::unique_ptr<Ostrum::Document> Parse(std::string utf8, Examination& result);

#endif
