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
  ContentWalker(const DocumentData& data, std::string_view part) noexcept
      : data(data), current(part) {}
  // Never returns a reference to an entity whose text is known.
  bool Next(Piece& piece);

 private:
  const DocumentData& data;
  PieceScanner current;
  std::vector<PieceScanner> outer; // continued when the current entity ends; the innermost last
};

// Whether a part of content, or an attribute's value, has a tag or a reference to an entity whose
// text is not known because it is declared outside the document.
bool HasTagOrUnknownEntity(const DocumentData& data, std::string_view part);

// Reads the text of a part of content, excluding elements in it, or of an attribute's value. The
// latter is normalized (each line ending or tab becomes a space) but not folded.
class TextReader {
 public:
  enum class Source { Content, AttributeValue };

  TextReader(const DocumentData& data, std::string_view part, Source source) noexcept
      : data(data), walker(data, part), source(source) {}
  // Appends the text of the next piece, or its beginning if text then has `limit` bytes. False at
  // the end.
  bool AppendNext(std::string& text, std::size_t limit);
  // Appends all that is left, until text has `limit` bytes.
  void AppendRest(std::string& text, std::size_t limit);

 private:
  void AppendLiteral(std::string_view characters, std::string& text, std::size_t limit) const;

  const DocumentData& data;
  ContentWalker walker;
  Source source;
  std::size_t depth = 0; // of elements that an entity opened
};

} // namespace Ostrum

#endif
