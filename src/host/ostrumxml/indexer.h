#ifndef TARVIK_HOST_OSTRUMXML_INDEXER_H
#define TARVIK_HOST_OSTRUMXML_INDEXER_H

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "host/ostrumxml/content.h"
#include "host/ostrumxml/expat_parser.h"
#include "host/ostrumxml/parse.h"

namespace Ostrum {

struct ParseFailure {
  PARSER_ERROR error = NO_PARSER_ERROR;
  int line = 0;   // from 1
  int column = 0; // from 1, in bytes
  const char* reason = "";
};

// Runs the parser over a document's source and builds the index of its elements.
class Indexer {
 public:
  explicit Indexer(Content& content);

  // False, with the failure told, when the source is no well-formed document. Throws std::bad_alloc.
  bool Run(ParseFailure& failure);

 private:
  // What is noted of an open element in a document that has entities of its own.
  struct OpenText {
    std::string text;
    bool usesEntity = false;
  };

  template <class Work>
  void Guarded(Work work) noexcept;
  XML_Status FeedAll();
  void Refuse(PARSER_ERROR error, const char* reason) noexcept;
  void Stop() noexcept { XML_StopParser(parser.Get(), XML_FALSE); }

  void StartElement(const XML_Char* name, const XML_Char** attributes);
  void CountDeclarations(const Element& element);
  void EndElement();
  void CollectChildren(Element& element, std::size_t first);
  void NoteCharacters(std::string_view text);
  void NoteExpandedAttributes(Element& element, const XML_Char** attributes);
  void NoteExpandedText(Element& element);
  void DeclareEntity(const XML_Char* name, bool parameter, const XML_Char* value, int length);
  void DeclareAttribute(const XML_Char* element, const XML_Char* name, const XML_Char* type, const XML_Char* value);
  std::uint32_t Offset() const noexcept { return static_cast<std::uint32_t>(XML_GetCurrentByteIndex(parser.Get())); }
  bool HasOwnEntities() const noexcept { return !content.entities.empty(); }

  Content& content;
  ExpatParser parser;
  std::vector<Element*> open;
  // The children, so far, of all open elements: those of an inner one behind those of an outer one. While an element is open,
  // its childCount says where its own begin.
  std::vector<Element*> children;
  std::vector<OpenText> texts;       // one for each open element, if the document has entities of its own
  std::size_t nestedEntities = 0;    // entities that refer to others
  std::uint64_t declarationsMet = 0; // attributes declared for the elements so far, one by one
  std::exception_ptr thrown;
  ParseFailure refusal;
};

} // namespace Ostrum

#endif
