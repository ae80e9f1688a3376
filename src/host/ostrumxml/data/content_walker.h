// Decoding content and attribute values of a document.
#ifndef TARVIK_HOST_OSTRUMXML_DATA_CONTENT_WALKER_H
#define TARVIK_HOST_OSTRUMXML_DATA_CONTENT_WALKER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/data/markup.h"

namespace Ostrum {

// Walks the pieces of a part of content or of an attribute's value. In place of a reference to an
// entity of the document, it walks the entity's replacement text, without recursion.
class ContentWalker {
 public:
  ContentWalker(const DocumentData& data, std::string_view stretch) noexcept
      : data(data), current(stretch) {}
  // Never returns a reference to an entity whose text is known.
  bool Next(Piece& piece);

 private:
  const DocumentData& data;
  PieceScanner current;
  std::vector<PieceScanner> outer; // continued when the current entity ends; the innermost last
};

// Whether a piece from a ContentWalker is a reference to an entity whose text is not known: one
// that is declared outside the document.
bool IsUnknownReference(const Piece& piece) noexcept;
// Whether there is one in a part of content or an attribute's value.
bool HasUnknownReference(const DocumentData& data, std::string_view part);

// Reads the character data of a part of content, without that of elements in it.
class OwnTextReader {
 public:
  OwnTextReader(const DocumentData& data, std::string_view stretch) noexcept
      : data(data), walker(data, stretch) {}
  // Appends what the next piece says, until text has `limit` bytes. False at the end.
  bool AppendNext(std::string& text, std::size_t limit);

 private:
  const DocumentData& data;
  ContentWalker walker;
  std::size_t depth = 0; // of elements that an entity opened
};

// Appends all that the reader gives, until text has `limit` bytes.
void AppendOwnText(const DocumentData& data, std::string_view stretch, std::string& text,
                   std::size_t limit);

// Appends the value of an attribute, normalized but not folded (each line ending or tab
// becomes a space), until value has `limit` bytes.
void AppendAttributeValue(const DocumentData& data, std::string_view raw, std::string& value,
                          std::size_t limit);

} // namespace Ostrum

#endif
