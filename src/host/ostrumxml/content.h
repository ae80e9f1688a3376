// What a document holds: its source, the index of elements over it, and what stands aside of the source.
#ifndef TARVIK_HOST_OSTRUMXML_CONTENT_H
#define TARVIK_HOST_OSTRUMXML_CONTENT_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/ostrumxml/arena.h"
#include "host/ostrumxml/name.h"
#include "host/ostrumxml/node.h"

namespace Ostrum {

// Bits of Element::flags. They spare the elements that have nothing aside, which is nearly all, the look-up.
namespace element_flags {
inline constexpr std::uint32_t created = 1;  // stands nowhere in the source
inline constexpr std::uint32_t changed = 2;  // Content::changes has an entry
inline constexpr std::uint32_t expanded = 4; // Content::expansions has an entry
} // namespace element_flags

// What was set on an element since the document was opened. All texts are in UTF-8.
struct ElementChange {
  struct SetAttribute {
    const Name* name;
    std::string value;
  };
  const SetAttribute* FindAttribute(std::string_view name) const noexcept;

  std::vector<SetAttribute> attributes;
  std::optional<std::string> text;
  std::vector<Element*> created;   // children made since, also in Element::children, where they stand last
  std::uint32_t childCapacity = 0; // of Element::children; 0 while that is as it was parsed
  std::string lead;                // of a created element: the white space that puts it on a line of its own
};

// Values that use entities of the document's own: only the parser knows what these stand for.
struct ElementExpansion {
  std::optional<std::string> text;
  std::map<std::string, std::string, std::less<>> attributes;
};

// What the document type says of an attribute.
struct AttributeDeclaration {
  bool tokenized;                   // of another type than CDATA: outer blanks are dropped, inner ones folded
  std::optional<std::string> value; // the default
};
using AttributeDeclarations = std::map<std::string, AttributeDeclaration, std::less<>>;

struct Content {
  explicit Content(std::string text) : source(std::move(text)), arena(source.size()) {}

  const Name& Intern(std::string_view utf8); // copies a text that is new
  ElementChange& ChangeOf(Element& element); // made where there is none
  const ElementChange* FindChange(const Element& element) const;
  const ElementExpansion* FindExpansion(const Element& element) const;
  const AttributeDeclarations* FindDeclarations(const Element& element) const;

  const std::string source;
  NameTable names;
  Arena arena;
  Element* root = &Element::null;
  std::unordered_map<const Element*, ElementChange> changes;
  std::unordered_map<const Element*, ElementExpansion> expansions;
  std::map<std::string, AttributeDeclarations, std::less<>> declarations; // by element name
  std::set<std::string, std::less<>> entities;                            // the general ones whose text is known
};

} // namespace Ostrum

#endif
