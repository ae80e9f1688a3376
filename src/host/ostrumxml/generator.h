#ifndef TARVIK_HOST_OSTRUMXML_GENERATOR_H
#define TARVIK_HOST_OSTRUMXML_GENERATOR_H

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/content.h"

namespace Ostrum {

// A document's text: its source, edited where something was set, in pieces that lie in the source or here. So a save copies
// no more than what was set. Valid until the document is changed.
class GeneratedText {
 public:
  // The time depends on the number of changes, not of elements. Throws std::length_error when the text grows beyond what can
  // be parsed, and std::bad_alloc.
  explicit GeneratedText(const Content& content);
  GeneratedText(GeneratedText&&) = delete;

  const std::vector<std::string_view>& Pieces() const noexcept { return pieces; }
  std::string Joined() const;

 private:
  void Add(std::string_view part);

  std::vector<std::string_view> pieces;
  std::deque<std::string> own; // the pieces that don't lie in the source
  bool lastIsGathered = false; // the last piece consists of short parts, and is the last of `own`
};

} // namespace Ostrum

#endif
