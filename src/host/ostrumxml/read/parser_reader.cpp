// Reading by Expat. Expat judges, and this adds only what it cannot know: bounds on the work that a
// small document may cause.

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "host/ostrumxml/data/content_walker.h"
#include "host/ostrumxml/data/references.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/data/xml_text.h"
#include "host/ostrumxml/expat/expat_parser.h"
#include "host/ostrumxml/read/index_builder.h"
#include "host/ostrumxml/read/readers.h"

namespace Ostrum {
namespace {

// The parser copies each chunk; this bounds the copy, since its buffers end at a gigabyte.
constexpr std::size_t maxChunk = std::size_t{1} << 29;

// The parser expands entities within entities by recursion, parameter entities too. A document with
// more of them than this could nest them so deep that the stack overflows.
constexpr std::size_t maxNestedEntities = 1'000;

// The parser looks at each attribute declared for an element whenever such an element begins, and
// whenever another is declared for it. How many times it may do so for each byte of the source,
// beyond a first million.
constexpr std::uint64_t maxLooksPerByte = 32;
constexpr std::uint64_t freeLooks = 1'000'000;

// What entities and declared defaults may add to the index: so many bytes, or so many times the
// source.
constexpr std::uint64_t freeExpansion = 8'000'000;
constexpr std::uint64_t maxExpansion = 20;

// Whether an entity's text refers to another entity. sign: '&', or '%' for parameter entities. A
// reference to a character or to a predefined entity expands nothing.
bool RefersToEntity(std::string_view text, char sign) noexcept {
  for (std::size_t place = text.find(sign); place != std::string_view::npos;
       place = text.find(sign, place + 1)) {
    const std::string_view name = text.substr(place + 1);
    const bool isName = !name.empty() && (nameStarts.find(name[0]) != std::string_view::npos ||
                                          !IsAscii({&name[0], 1}));
    if (isName && (sign == '%' || !IsPredefined(name.substr(0, name.find(';'))))) return true;
  }
  return false;
}

} // namespace

// Runs the parser over a document's source, which tells whether it is well-formed and what it
// declares. The index is then built by walking the content, entities included.
class ParserReader {
 public:
  explicit ParserReader(DocumentData& data) : data(data) {
    XML_SetUserData(parser.Get(), this);
    XML_SetStartElementHandler(parser.Get(), Handle<&ParserReader::CountElement>);
    XML_SetEntityDeclHandler(parser.Get(), Handle<&ParserReader::DeclareEntity>);
    XML_SetAttlistDeclHandler(parser.Get(), Handle<&ParserReader::DeclareAttribute>);
  }

  ParseFailure Read() {
    const XML_Status status = FeedAll();
    if (thrown) std::rethrow_exception(thrown);
    if (status == XML_STATUS_OK) {
      data.source += entityTexts;
      IndexContent();
      return {};
    }
    if (refusal == NO_PARSER_ERROR)
      refusal = static_cast<PARSER_ERROR>(XML_GetErrorCode(parser.Get()));
    const auto line = static_cast<int>(XML_GetCurrentLineNumber(parser.Get()));
    auto column = static_cast<int>(XML_GetCurrentColumnNumber(parser.Get())) + 1;
    if (line == 1 && data.source.starts_with(utf8ByteOrderMark)) --column; // Expat counts the mark
    return {refusal, line, column};
  }

 private:
  // The parser calls from C, which exceptions must not cross: one is kept, and rethrown when the
  // parser has returned.
  template <auto handle, class... Arguments>
  static void Handle(void* self, Arguments... arguments) noexcept {
    auto& reader = *static_cast<ParserReader*>(self);
    try {
      (reader.*handle)(arguments...);
    } catch (...) {
      reader.thrown = std::current_exception();
      reader.Stop();
    }
  }

  void Stop() noexcept { XML_StopParser(parser.Get(), XML_FALSE); }
  void Refuse(PARSER_ERROR error) noexcept {
    refusal = error;
    Stop();
  }

  XML_Status FeedAll() {
    std::string_view rest = data.source;
    while (rest.size() > maxChunk) {
      if (parser.Feed(rest.substr(0, maxChunk), false) != XML_STATUS_OK) return XML_STATUS_ERROR;
      rest.remove_prefix(maxChunk);
    }
    return parser.Feed(rest, true);
  }

  void CountElement(const XML_Char* name, const XML_Char**) {
    const auto offset = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser.Get()));
    assert(offset < data.fileSize);
    if (!contentStart) contentStart = static_cast<std::uint32_t>(offset);
    // The parser gives the offset of the reference for an element in an entity's text.
    if (data.source[offset] == '&') CountExpansion(sizeof(ElementRecord));
    if (const AttributeDeclarations* const declared = data.FindDeclarations(name))
      CountLooks(declared->size());
  }

  void DeclareEntity(const XML_Char* name, int isParameter, const XML_Char* value, int length,
                     const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*) {
    if (value == nullptr) return;
    const std::string_view text(value, static_cast<std::size_t>(length));
    if (RefersToEntity(text, isParameter != 0 ? '%' : '&') && ++nestedEntities > maxNestedEntities)
      return Refuse(TOO_MANY_ENTITIES);
    if (isParameter != 0) return;
    const auto start = static_cast<std::uint32_t>(data.fileSize + entityTexts.size());
    const DocumentData::EntityPlace place{start, static_cast<std::uint32_t>(text.size())};
    if (!data.entities.try_emplace(name, place).second) return; // the first one binds
    CountExpansion(text.size());
    if (refusal == NO_PARSER_ERROR) entityTexts += text;
  }

  void DeclareAttribute(const XML_Char* element, const XML_Char* name, const XML_Char* type,
                        const XML_Char* value, int) {
    AttributeDeclarations& declared = data.declarations[element];
    CountLooks(declared.size());
    AttributeDeclaration declaration{std::strcmp(type, "CDATA") != 0, {}};
    if (value != nullptr) {
      CountExpansion(std::strlen(value));
      declaration.value = value;
    }
    declared.try_emplace(name, std::move(declaration)); // the first one binds
  }

  void CountLooks(std::size_t looks) noexcept {
    declarationsMet += looks;
    if (declarationsMet > freeLooks + maxLooksPerByte * data.fileSize)
      Refuse(TOO_MANY_DECLARATIONS);
  }

  void CountExpansion(std::size_t bytes) noexcept {
    const std::uint64_t addressable = UINT32_MAX - data.fileSize; // by offsets into the source
    expansion += bytes;
    if (expansion > std::min(std::max(freeExpansion, maxExpansion * data.fileSize), addressable))
      Refuse(TOO_MUCH_EXPANSION);
  }

  // Nothing here checks for errors, since the parser has accepted the text.
  void IndexContent() {
    IndexBuilder builder(data);
    const std::string_view file(data.source.data(), data.fileSize);
    ContentWalker walker(data, file.substr(contentStart.value()));
    for (Piece piece{}; walker.Next(piece);) {
      const std::uint32_t start = data.OffsetOf(piece.text);
      if (piece.kind == PieceKind::EndTag) builder.EndElement(start);
      if (piece.kind != PieceKind::StartTag && piece.kind != PieceKind::EmptyTag) continue;
      const std::string_view name = piece.text.substr(1, piece.text.find_first_of(" \t\r\n/>") - 1);
      const auto end = start + static_cast<std::uint32_t>(piece.text.size());
      builder.StartElement(data.names.Intern(name), start, end);
      if (piece.kind == PieceKind::EmptyTag) builder.EndElement(end);
    }
  }

  DocumentData& data;
  ExpatParser parser;
  std::optional<std::uint32_t> contentStart; // of the root's tag
  std::string entityTexts;                   // to be appended to the source
  std::size_t nestedEntities = 0;            // entities that refer to others
  std::uint64_t declarationsMet = 0;         // looks at declared attributes, one by one
  std::uint64_t expansion = 0; // bytes that entities and declared defaults add to the index
  std::exception_ptr thrown;
  PARSER_ERROR refusal = NO_PARSER_ERROR;
};

ParseFailure ReadByParser(DocumentData& data) { return ParserReader(data).Read(); }

const char* ReasonOf(PARSER_ERROR error) noexcept {
  if (error == TOO_MANY_ENTITIES) return "too many entities that refer to others";
  if (error == TOO_MANY_DECLARATIONS) return "too many declared attributes times elements";
  if (error == TOO_MUCH_EXPANSION)
    return "entities and declared defaults expand to far more than the document";
  return XML_ErrorString(static_cast<XML_Error>(error));
}

bool IsIllFormed(PARSER_ERROR error) noexcept {
  static_assert(static_cast<int>(NO_PARSER_MEMORY) == static_cast<int>(XML_ERROR_NO_MEMORY));
  return error != NO_PARSER_ERROR && error != NO_PARSER_MEMORY && error < TOO_MANY_ENTITIES &&
         static_cast<XML_Error>(error) != XML_ERROR_AMPLIFICATION_LIMIT_BREACH;
}

} // namespace Ostrum
