#include "host/ostrumxml/indexer.h"

#include <algorithm>
#include <cstring>

#include "host/ostrumxml/element_layout.h"
#include "host/ostrumxml/references.h"

namespace Ostrum {
namespace {

// Nearly all documents are fed as a whole. After every feed but the last the parser counts lines once more, which costs a
// tenth of the time. While it parses, it holds a copy of what it was fed, and the limit is for that.
constexpr std::size_t chunkSize = std::size_t{16} << 20;

// The parser expands entities within entities by recursion. A document with more of them than this could nest them so deep
// that the stack overflows.
constexpr std::size_t mostNestedEntities = 1'000;

// The parser looks at each attribute declared for an element whenever such an element begins, also where none is written. How
// many times it may do so for each byte of the source, beyond a first million.
constexpr std::uint64_t mostDeclarationsPerByte = 32;
constexpr std::uint64_t declarationsForFree = 1'000'000;

// Whether what the parser reads in the source just now is a reference to one of the document's own entities.
bool IsOwnReference(std::string_view event) {
  if (event.size() < 3 || event.front() != '&' || event.back() != ';') return false;
  std::string character;
  return !AppendReference(event, character);
}

} // namespace

Indexer::Indexer(Content& content) : content(content) {
  XML_SetUserData(parser.Get(), this);
  XML_SetElementHandler(
      parser.Get(),
      [](void* self, const XML_Char* name, const XML_Char** attributes) {
        auto& indexer = *static_cast<Indexer*>(self);
        indexer.Guarded([&] { indexer.StartElement(name, attributes); });
      },
      [](void* self, const XML_Char*) {
        auto& indexer = *static_cast<Indexer*>(self);
        indexer.Guarded([&] { indexer.EndElement(); });
      });
  XML_SetEntityDeclHandler(parser.Get(),
                           [](void* self, const XML_Char* name, int isParameter, const XML_Char* value, int length,
                              const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*) {
                             auto& indexer = *static_cast<Indexer*>(self);
                             indexer.Guarded([&] { indexer.DeclareEntity(name, isParameter != 0, value, length); });
                           });
  XML_SetAttlistDeclHandler(parser.Get(), [](void* self, const XML_Char* element, const XML_Char* name,
                                             const XML_Char* type, const XML_Char* value, int) {
    auto& indexer = *static_cast<Indexer*>(self);
    indexer.Guarded([&] { indexer.DeclareAttribute(element, name, type, value); });
  });
}

// The parser calls from C, through which no exception may pass: it is kept, and thrown when the parser has returned.
template <class Work>
void Indexer::Guarded(Work work) noexcept {
  if (thrown || refusal.error != NO_PARSER_ERROR) return;
  try {
    work();
  } catch (...) {
    thrown = std::current_exception();
    Stop();
  }
}

bool Indexer::Run(ParseFailure& failure) {
  const XML_Status status = FeedAll();
  if (thrown) std::rethrow_exception(thrown);
  if (status == XML_STATUS_OK) return true;

  failure = refusal;
  failure.line = static_cast<int>(XML_GetCurrentLineNumber(parser.Get()));
  failure.column = static_cast<int>(XML_GetCurrentColumnNumber(parser.Get())) + 1;
  if (failure.error == NO_PARSER_ERROR) {
    const XML_Error code = XML_GetErrorCode(parser.Get());
    failure.error = static_cast<PARSER_ERROR>(code);
    failure.reason = XML_ErrorString(code);
  }
  return false;
}

XML_Status Indexer::FeedAll() {
  std::string_view rest = content.source;
  for (;;) {
    // A token that does not end within a chunk is looked at anew with each further one. Feeding as much again as it is long
    // keeps that in proportion.
    const std::size_t fed = content.source.size() - rest.size();
    const XML_Index index = XML_GetCurrentByteIndex(parser.Get());
    const std::size_t pending = index < 0 ? 0 : fed - std::min(fed, static_cast<std::size_t>(index));
    const std::size_t size = std::min(std::max(chunkSize, pending), rest.size());
    const bool last = size == rest.size();
    const XML_Status status = parser.Feed(rest.substr(0, size), last);
    if (status != XML_STATUS_OK || last) return status;
    rest.remove_prefix(size);
  }
}

void Indexer::Refuse(PARSER_ERROR error, const char* reason) noexcept {
  refusal.error = error;
  refusal.reason = reason;
  Stop();
}

void Indexer::StartElement(const XML_Char* name, const XML_Char** attributes) {
  const std::uint32_t start = Offset();
  if (content.source[start] != '<') {
    Refuse(ELEMENTS_FROM_ENTITY, "elements that come from an entity are not supported");
    return;
  }
  auto* element = new (content.arena.Allocate(sizeof(Element))) Element;
  const std::string_view text(content.source.data() + start + 1, std::strlen(name));
  const Name* known = content.names.Find(text);
  element->name = known != nullptr ? known : &content.names.Insert(content, text);
  element->tagStart = start;
  element->contentStart = start + static_cast<std::uint32_t>(XML_GetCurrentByteCount(parser.Get()));
  if (open.empty()) {
    content.root = element;
  } else {
    children.push_back(element);
  }
  element->childCount = static_cast<std::uint32_t>(children.size());
  open.push_back(element);
  CountDeclarations(*element);
  if (!HasOwnEntities()) return;
  texts.emplace_back();
  NoteExpandedAttributes(*element, attributes);
}

void Indexer::CountDeclarations(const Element& element) {
  const AttributeDeclarations* const declared = content.FindDeclarations(element);
  if (declared == nullptr) return;
  declarationsMet += declared->size();
  if (declarationsMet <= declarationsForFree + mostDeclarationsPerByte * content.source.size()) return;
  Refuse(TOO_MANY_DECLARATIONS, "too many attributes are declared for elements that are too many");
}

void Indexer::EndElement() {
  Element& element = *open.back();
  element.contentEnd = Offset();
  CollectChildren(element, element.childCount);
  open.pop_back();
  if (HasOwnEntities()) NoteExpandedText(element);
}

void Indexer::CollectChildren(Element& element, std::size_t first) {
  const std::size_t count = children.size() - first;
  element.childCount = 0;
  if (count == 0) return;
  element.children = static_cast<Element**>(content.arena.Allocate(count * sizeof(Element*)));
  std::for_each(children.begin() + static_cast<std::ptrdiff_t>(first), children.end(),
                [&element](Element* child) { element.Append(*child); });
  children.resize(first);
}

void Indexer::NoteCharacters(std::string_view text) {
  if (texts.empty()) return;
  OpenText& note = texts.back();
  note.text += text;
  const auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(parser.Get()));
  if (IsOwnReference(std::string_view(content.source).substr(Offset(), length))) note.usesEntity = true;
}

void Indexer::NoteExpandedText(Element& element) {
  if (texts.back().usesEntity) {
    content.expansions[&element].text = std::move(texts.back().text);
    element.flags |= element_flags::expanded;
  }
  texts.pop_back();
}

// The parser gives the attributes that stand in the tag first, in the order in which they stand there.
void Indexer::NoteExpandedAttributes(Element& element, const XML_Char** attributes) {
  TagScanner scanner(ElementLayout(content, element).Attributes());
  RawAttribute attribute{};
  for (; scanner.Next(attribute); attributes += 2) {
    if (attribute.value.find('&') == std::string_view::npos) continue;
    content.expansions[&element].attributes.emplace(attribute.name, attributes[1]);
    element.flags |= element_flags::expanded;
  }
}

void Indexer::DeclareEntity(const XML_Char* name, bool parameter, const XML_Char* value, int length) {
  if (parameter || value == nullptr) return;
  if (!HasOwnEntities()) {
    XML_SetCharacterDataHandler(parser.Get(), [](void* self, const XML_Char* text, int size) {
      auto& indexer = *static_cast<Indexer*>(self);
      indexer.Guarded([&] { indexer.NoteCharacters({text, static_cast<std::size_t>(size)}); });
    });
  }
  content.entities.emplace(name);

  const std::string_view text(value, static_cast<std::size_t>(length));
  if (text.find('&') == std::string_view::npos || ++nestedEntities <= mostNestedEntities) return;
  Refuse(TOO_MANY_ENTITIES, "too many entities that refer to others");
}

void Indexer::DeclareAttribute(const XML_Char* element, const XML_Char* name, const XML_Char* type,
                               const XML_Char* value) {
  AttributeDeclaration declaration{std::strcmp(type, "CDATA") != 0, {}};
  if (value != nullptr) declaration.value = value;
  content.declarations[element].try_emplace(name, std::move(declaration)); // the first one binds
}

} // namespace Ostrum
