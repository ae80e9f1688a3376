#ifndef TARVIK_HOST_OSTRUMXML_SAVE_GENERATOR_H
#define TARVIK_HOST_OSTRUMXML_SAVE_GENERATOR_H

#include <cstdint>
#include <deque>
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
// So a save copies only what was set. Valid until the document is changed.
class GeneratedText {
 public:
  // Takes time in proportion to the number of changes, not of elements. Throws std::length_error if
  // the text has become too long to be parsed, and std::bad_alloc.
  explicit GeneratedText(const DocumentData& data);
  GeneratedText(GeneratedText&&) = delete;

  const std::vector<std::string_view>& Pieces() const noexcept { return pieces; }
  std::string Joined() const;
  // Whether both are the same text, in whatever pieces.
  bool operator==(const GeneratedText& other) const noexcept;

 private:
  void Add(std::string_view part);

  std::vector<std::string_view> pieces;
  std::deque<std::string> own; // the pieces that are not in the source
  bool lastIsGathered =
      false; // whether the last piece consists of short parts; it is then the last of `own`
};

} // namespace Ostrum

#endif
