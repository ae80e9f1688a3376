#ifndef TARVIK_HOST_OSTRUMXML_INDEXER_H
#define TARVIK_HOST_OSTRUMXML_INDEXER_H

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/expat_parser.h"
#include "host/ostrumxml/references.h"

namespace Ostrum {

struct ParseFailure {
  PARSER_ERROR error = NO_PARSER_ERROR;
  int line = 0;   // from 1
  int column = 0; // from 1, in bytes
};

// Runs the parser over a document's source and builds the index of its elements.
class Indexer {
 public:
  explicit Indexer(Content& content);

  // Tells the failure when the source is no well-formed document, or out of proportion. Throws std::bad_alloc.
  ParseFailure Run();

 private:
  struct OpenElement {
    Element* element;
    Element* lastChild;
  };

  template <class Work>
  void Guarded(Work work) noexcept;
  XML_Status FeedAll();
  void Refuse(PARSER_ERROR error) noexcept;
  void Stop() noexcept { XML_StopParser(parser.Get(), XML_FALSE); }

  void StartElement(const XML_Char* name);
  void EndElement();
  void Link(Element& element);
  void PlaceInEntity(Element& element, std::uint32_t reference);
  std::string_view NextTag();
  void DeclareEntity(const XML_Char* name, std::string_view text);
  void DeclareAttribute(const XML_Char* element, const XML_Char* name, const XML_Char* type, const XML_Char* value);
  void CountLooks(std::size_t looks) noexcept;
  void CountExpansion(std::size_t bytes) noexcept;
  void AppendEntityTexts();
  std::uint32_t Offset() const noexcept { return static_cast<std::uint32_t>(XML_GetCurrentByteIndex(parser.Get())); }

  Content& content;
  ExpatParser parser;
  std::vector<OpenElement> open;
  std::string entityTexts; // until the first element begins
  // Inside an entity the parser tells no place but that of the reference. The walk through the entity's text keeps step with
  // the elements that the parser reports, so that it never goes beyond what the parser has checked.
  std::uint32_t walkedReference = 0; // its offset in the source
  std::optional<ContentWalker> entityWalk;
  std::size_t nestedEntities = 0;    // entities that refer to others
  std::uint64_t declarationsMet = 0; // looks at declared attributes, one by one
  std::uint64_t expansion = 0;       // bytes that entities and declared defaults add to the index
  std::exception_ptr thrown;
  PARSER_ERROR refusal = NO_PARSER_ERROR;
};

} // namespace Ostrum

#endif
