#ifndef TARVIK_HOST_OSTRUMXML_GENERATOR_H
#define TARVIK_HOST_OSTRUMXML_GENERATOR_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/element_layout.h"

namespace Ostrum {

// Generates a document's text: the source, edited where something was set. What it costs beyond the copy goes by the number
// of changes, not by that of elements.
class Generator {
 public:
  explicit Generator(const Content& content) noexcept : content(content) {}
  // Throws std::length_error when the text grows beyond what can be parsed.
  std::string Generate();

 private:
  // The part of the source that begins at `from` and is `length` bytes long is replaced.
  struct Edit {
    std::uint32_t from;
    std::uint32_t length;
    std::string replacement;
  };

  void Collect(const Element& element, const ElementChange& change);
  void CollectAttributes(const ElementLayout& layout, const ElementChange& change);
  void CollectText(const ElementLayout& layout, const ElementChange& change);
  void CollectOpening(const Element& element, const ElementLayout& layout, const ElementChange& change);
  bool IsText(const Piece& piece) const;
  void AddEdit(std::string_view part, std::string replacement);

  std::string CreatedChildren(const ElementChange& change) const;
  void AppendCreated(const Element& created, std::string& text) const;
  void AppendStartTag(const Element& created, const ElementChange& change, std::string& text) const;

  const Content& content;
  std::vector<Edit> edits;
};

} // namespace Ostrum

#endif
