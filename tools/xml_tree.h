// The document library as the command uses it: texts are in the locale's character set.
#ifndef TARVIK_TOOLS_XML_TREE_H
#define TARVIK_TOOLS_XML_TREE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/node.h"

// What is known of one name, shared by all elements that have it.
struct ElementName {
  std::optional<std::string> text; // nothing where it has no form in the locale
  std::uint32_t count = 0;         // for whoever counts children by name
};

// The names met so far, each converted once.
class NameTable {
 public:
  // The reference stays valid.
  ElementName& Of(const Ostrum::Element& element);

 private:
  std::unordered_map<const void*, ElementName> names;
};

// Nothing where there is no such attribute, or the text has no form in the locale.
std::optional<std::string> TextOf(const Ostrum::Element& element);
std::optional<std::string> AttributeOf(const Ostrum::Element& element, const std::string& name);
bool HasAttribute(const Ostrum::Element& element, const std::string& name);

// Each throws std::invalid_argument, saying why, where XML can't carry the name or the text there.
Ostrum::Element& AddChild(Ostrum::Element& parent, const std::string& name);
void SetText(Ostrum::Element& element, const std::string& text);
void SetAttribute(Ostrum::Element& element, const std::string& name, const std::string& value);

// A document's source as it would be saved, in UTF-8.
std::string SourceOf(const Ostrum::Document& document);
std::unique_ptr<Ostrum::Document> CopyOf(const Ostrum::Document& document);

// What became of an attempt to read and parse a file.
struct Examination {
  long readResult = 0; // of the document library
  int line = 0;        // from 1; 0 where the place is not known
  int column = 0;
  std::string reason; // empty for a well-formed file

  // "broken.xml:2:6: mismatched tag", after the name of the file.
  std::string Complaint() const;
};
Examination Examine(const std::string& fileName, bool encrypted);

#endif
