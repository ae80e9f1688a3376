#ifndef TARVIK_HOST_OSTRUMXML_SAVE_GENERATOR_H
#define TARVIK_HOST_OSTRUMXML_SAVE_GENERATOR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/document_data.h"

namespace Ostrum {

// A replacement of `length` bytes of a document's source from offset `from` on.
struct Edit {
  std::uint32_t from;
  std::uint32_t length;
  std::string replacement;
};

// The edits that make the changes. Sorted by position; none overlap; those at one position are to
// be made in their order. Throws std::bad_alloc.
std::vector<Edit> EditsOf(const DocumentData& data);

// A document's text with all changes, as pieces that refer to the source or to strings kept here.
// So a save copies only what was set, unless that is in very many places. Valid until the document
// is changed.
class GeneratedText {
 public:
  // Takes time in proportion to the number of changes, not of elements. Throws std::length_error if
  // the text has become too long to be parsed, and std::bad_alloc.
  explicit GeneratedText(const DocumentData& data);
  GeneratedText(GeneratedText&&) = delete;

  const std::vector<std::string_view>& Pieces() const noexcept { return pieces; }
  std::string Joined() const;

  // Whether both are the same text, in whatever pieces. Throws std::bad_alloc.
  bool operator==(const GeneratedText& other) const;

 private:
  const std::vector<Edit> edits;
  std::size_t size;
  std::string joined;
  std::vector<std::string_view> pieces;
};

} // namespace Ostrum

#endif
