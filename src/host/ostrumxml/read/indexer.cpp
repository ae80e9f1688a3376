// The index from Expat's events. Expat judges, and this adds only what it cannot know: bounds on
// the work that a small document may cause, and the places of elements whose tags stand in an
// entity's text, for which Expat reports no more than the reference.
#include "host/ostrumxml/read/indexer.h"

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
  constexpr std::size_t maxPredefined = 5; // with the ";"
  for (std::size_t place = text.find(sign); place != std::string_view::npos;
       place = text.find(sign, place + 1)) {
    std::string_view name = text.substr(place + 1);
    const bool isName = !name.empty() && (nameStarts.find(name[0]) != std::string_view::npos ||
                                          !IsAscii({&name[0], 1}));
    name = name.substr(0, maxPredefined);
    if (isName && (sign == '%' || !IsPredefined(name.substr(0, name.find(';'))))) return true;
  }
  return false;
}

} // namespace

// Runs the parser over a document's source and reports its elements to the index builder.
class Indexer {
 public:
  explicit Indexer(DocumentData& data) : data(data), builder(data) {
    XML_SetUserData(parser.Get(), this);
    XML_SetElementHandler(
        parser.Get(),
        [](void* self, const XML_Char* name, const XML_Char**) {
          auto& indexer = *static_cast<Indexer*>(self);
          indexer.Guarded([&] { indexer.StartElement(name); });
        },
        [](void* self, const XML_Char*) {
          auto& indexer = *static_cast<Indexer*>(self);
          indexer.Guarded([&] { indexer.EndElement(); });
        });
    XML_SetEntityDeclHandler(parser.Get(), [](void* self, const XML_Char* name, int isParameter,
                                              const XML_Char* value, int length, const XML_Char*,
                                              const XML_Char*, const XML_Char*, const XML_Char*) {
      if (value == nullptr) return;
      auto& indexer = *static_cast<Indexer*>(self);
      const std::string_view text(value, static_cast<std::size_t>(length));
      indexer.CountIfNested(text, isParameter != 0 ? '%' : '&');
      if (isParameter == 0) indexer.Guarded([&] { indexer.DeclareEntity(name, text); });
    });
    XML_SetAttlistDeclHandler(
        parser.Get(), [](void* self, const XML_Char* element, const XML_Char* name,
                         const XML_Char* type, const XML_Char* value, int) {
          auto& indexer = *static_cast<Indexer*>(self);
          indexer.Guarded([&] { indexer.DeclareAttribute(element, name, type, value); });
        });
  }

  ParseFailure Run() {
    const XML_Status status = FeedAll();
    if (thrown) std::rethrow_exception(thrown);
    if (status == XML_STATUS_OK) return {};
    const XML_Error code = XML_GetErrorCode(parser.Get());
    return {refusal != NO_PARSER_ERROR ? refusal : static_cast<PARSER_ERROR>(code),
            static_cast<int>(XML_GetCurrentLineNumber(parser.Get())),
            static_cast<int>(XML_GetCurrentColumnNumber(parser.Get())) + 1};
  }

 private:
  void Stop() noexcept { XML_StopParser(parser.Get(), XML_FALSE); }
  std::uint32_t Offset() const noexcept {
    return static_cast<std::uint32_t>(XML_GetCurrentByteIndex(parser.Get()));
  }
  std::uint32_t TagSize() const noexcept {
    return static_cast<std::uint32_t>(XML_GetCurrentByteCount(parser.Get()));
  }

  // The parser calls from C, which exceptions must not cross: one is kept, and rethrown when the
  // parser has returned.
  template <class Work>
  void Guarded(Work work) noexcept {
    if (thrown || refusal != NO_PARSER_ERROR) return;
    try {
      work();
    } catch (...) {
      thrown = std::current_exception();
      Stop();
    }
  }

  XML_Status FeedAll() {
    for (std::size_t fed = 0;;) {
      // Looked up for each chunk, because appending the entities' texts to the source moves it.
      const std::string_view chunk =
          std::string_view(data.source).substr(fed, std::min(data.fileSize - fed, maxChunk));
      fed += chunk.size();
      const bool last = fed == data.fileSize;
      const XML_Status status = parser.Feed(chunk, last);
      if (status != XML_STATUS_OK || last) return status;
    }
  }

  void Refuse(PARSER_ERROR error) noexcept {
    refusal = error;
    Stop();
  }

  void StartElement(const XML_Char* name) {
    if (!builder.HasRoot()) AppendEntityTexts();
    const std::uint32_t start = Offset();
    assert(start < data.fileSize);
    const bool isInFile = data.source[start] == '<';
    const TagPlace tag = isInFile ? TagPlace{start, start + TagSize()} : PlaceInEntity(start);
    const std::string_view text =
        std::string_view(data.source).substr(tag.start + 1, std::strlen(name));
    assert(text == name);
    builder.StartElement(data.names.Intern(text), tag);
    if (const AttributeDeclarations* const declared = data.FindDeclarations(text))
      CountLooks(declared->size());
  }

  void EndElement() {
    const TagPlace tag = builder.InnermostTag();
    if (data.IsInFile(tag.start)) return builder.EndElement(Offset());
    const bool isEmptyTag = data.source[tag.end - 2] == '/';
    builder.EndElement(isEmptyTag ? tag.end : data.OffsetOf(NextTag()));
  }

  TagPlace PlaceInEntity(std::uint32_t reference) {
    if (!entityWalk || walkedReference != reference) {
      const std::string_view source = data.source;
      assert(source[reference] == '&');
      entityWalk.emplace(data,
                         source.substr(reference, source.find(';', reference) + 1 - reference));
      walkedReference = reference;
    }
    CountExpansion(sizeof(ElementRecord));
    const std::string_view tag = NextTag();
    const std::uint32_t start = data.OffsetOf(tag);
    return {start, start + static_cast<std::uint32_t>(tag.size())};
  }

  // The next tag of the entity's text.
  std::string_view NextTag() {
    Piece piece{};
    do {
      const bool hasPiece = entityWalk->Next(piece);
      assert(hasPiece);
      static_cast<void>(hasPiece);
    } while (piece.kind < PieceKind::StartTag);
    return piece.text;
  }

  void DeclareEntity(const XML_Char* name, std::string_view text) {
    const auto start = static_cast<std::uint32_t>(data.fileSize + entityTexts.size());
    const DocumentData::EntityPlace place{start, static_cast<std::uint32_t>(text.size())};
    if (!data.entities.try_emplace(name, place).second) return; // the first one binds
    CountExpansion(text.size());
    if (refusal == NO_PARSER_ERROR) entityTexts += text;
  }

  void CountIfNested(std::string_view text, char reference) noexcept {
    if (RefersToEntity(text, reference) && ++nestedEntities > maxNestedEntities)
      Refuse(TOO_MANY_ENTITIES);
  }

  // All entities have been declared when the first element begins.
  void AppendEntityTexts() {
    if (entityTexts.empty()) return;
    data.source.reserve(data.fileSize + entityTexts.size());
    data.source += entityTexts;
    std::exchange(entityTexts, {});
  }

  void DeclareAttribute(const XML_Char* element, const XML_Char* name, const XML_Char* type,
                        const XML_Char* value) {
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

  DocumentData& data;
  ExpatParser parser;
  IndexBuilder builder;
  std::string entityTexts; // until the first element begins
  // Inside an entity, the parser reports the position of the reference only. The walk through the
  // entity's text keeps step with the elements that the parser reports, so it never passes what the
  // parser has checked.
  std::uint32_t walkedReference = 0; // its offset in the source
  std::optional<ContentWalker> entityWalk;
  std::size_t nestedEntities = 0;    // entities that refer to others
  std::uint64_t declarationsMet = 0; // looks at declared attributes, one by one
  std::uint64_t expansion = 0;       // bytes that entities and declared defaults add to the index
  std::exception_ptr thrown;
  PARSER_ERROR refusal = NO_PARSER_ERROR;
};

ParseFailure BuildIndex(DocumentData& data) { return Indexer(data).Run(); }

} // namespace Ostrum
