// Compares the plain reader with the parser.
#ifndef TARVIK_TESTS_OSTRUMXML_BOTH_READERS_H
#define TARVIK_TESTS_OSTRUMXML_BOTH_READERS_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/read/readers.h"

// The records and names of all elements, in document order.
inline std::string Index(const Ostrum::DocumentData& data) {
  std::string index;
  std::vector<std::uint32_t> toVisit{data.root};
  while (!toVisit.empty()) {
    const std::uint32_t element = toVisit.back();
    toVisit.pop_back();
    if (element == 0) continue;
    const Ostrum::ElementRecord& record = data.elements[element];
    index.append(reinterpret_cast<const char*>(&record), sizeof record)
        .append(data.NameOf(element));
    toVisit.insert(toVisit.end(), {record.nextSibling, data.FirstChild(element)});
  }
  return index;
}

enum class Comparison { ReadPlainly, Unknown, Different };

inline Comparison CompareReaders(const std::string& source) {
  Ostrum::DocumentData plain(source);
  if (!Ostrum::ReadPlainly(plain)) return Comparison::Unknown;
  Ostrum::DocumentData parsed(source);
  const bool isEqual = Ostrum::ReadByParser(parsed).error == Ostrum::NO_PARSER_ERROR &&
                       Index(plain) == Index(parsed) && parsed.source == source &&
                       parsed.entities.empty() && parsed.declarations.empty();
  return isEqual ? Comparison::ReadPlainly : Comparison::Different;
}

#endif
