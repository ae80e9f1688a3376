// Reading content and attribute values as XML means them, the document's own entities included.
#ifndef TARVIK_HOST_OSTRUMXML_CONTENT_READER_H
#define TARVIK_HOST_OSTRUMXML_CONTENT_READER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/markup.h"

namespace Ostrum {

// Walks the pieces of a stretch of content, those of the replacement texts in the place of references to own entities. These
// are followed without recursion, however deep they refer to each other.
class ContentWalker {
 public:
  ContentWalker(const Content& content, std::string_view stretch) noexcept : content(content), current(stretch) {}
  // Never gives a reference to an own entity.
  bool Next(Piece& piece);

 private:
  const Content& content;
  PieceScanner current;
  std::vector<PieceScanner> outer; // that wait for the end of an entity, the innermost last
};

// Appends the character data of a stretch of content, that of the elements in it left out, until text has `limit` bytes.
void AppendOwnText(const Content& content, std::string_view stretch, std::string& text, std::size_t limit);

// Appends the value of an attribute, normalized but not folded: each line end and tab is a blank; until value has `limit`
// bytes.
void AppendAttributeValue(const Content& content, std::string_view raw, std::string& value, std::size_t limit);

} // namespace Ostrum

#endif
