// The document library as the command uses it: texts are in the locale's character set.
#ifndef TARVIK_TOOLS_XML_TREE_H
#define TARVIK_TOOLS_XML_TREE_H

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/node.h"

using Ostrum::Element;
using LocaleText = std::optional<std::string>; // nothing where a text has no form in the locale

// The names met so far, each converted once: equal names of a document give the same object.
class NameTable {
 public:
  const LocaleText& Of(const Element& element);

 private:
  std::unordered_map<const void*, LocaleText> names;
};

LocaleText TextOf(const Element& element);
// Nothing, too, where there is no such attribute.
LocaleText AttributeOf(const Element& element, const std::string& name);
bool HasAttribute(const Element& element, const std::string& name);

// Each throws std::invalid_argument, saying why, where XML can't carry the name or the text there.
Element& AddChild(Element& parent, const std::string& name);
void SetText(Element& element, const std::string& text);
void SetAttribute(Element& element, const std::string& name, const std::string& value);

// A document's source as it would be saved, in UTF-8.
std::string SourceOf(const Ostrum::Document& document);
bool IsWholeInLocale(const Ostrum::Document& document);
std::unique_ptr<Ostrum::Document> CopyOf(const Ostrum::Document& document);

// What became of an attempt to read and parse a file.
struct Examination {
  long readResult; // of the document library
  int line = 0;    // from 1; 0 where the place is not known
  int column = 0;
  std::string reason; // empty for a well-formed file

  // ":2:6: mismatched tag", to follow the name of the file.
  std::string Complaint() const;
};
Examination Examine(const std::string& fileName, bool encrypted);

#endif
