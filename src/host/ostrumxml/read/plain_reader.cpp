// The plain reader. It accepts less than XML allows, and nothing else: whenever a rule is not
// checked completely here, the answer must be "unknown". The zero after the source ends every loop,
// so single bytes need no test against the end.
#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/byte_scan.h"
#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/data/references.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/data/xml_text.h"
#include "host/ostrumxml/read/index_builder.h"
#include "host/ostrumxml/read/readers.h"

namespace Ostrum {
namespace {

unsigned char ByteAt(const char* place) noexcept { return static_cast<unsigned char>(*place); }

// Whether a name in ASCII ends before the byte, or before each byte of a vector, whose result has
// all bits of a byte set or none.
auto EndsName(auto byte) noexcept {
  const auto letter = byte | 0x20;
  return ((letter < 'a') | (letter > 'z')) & ((byte < '-') | (byte > ':') | (byte == '/')) &
         (byte != '_');
}

constexpr bool IsXmlCharacter(std::uint32_t character) noexcept {
  if (character < 0x20) return IsWhiteSpace(static_cast<char>(character));
  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  return !isSurrogate && character != 0xFFFE && character != 0xFFFF && character <= 0x10FFFF;
}

// Reads a document of one encoding, UTF-8, in one pass. Every function that returns bool reads what
// it is named after; false means that the text is malformed there or has something unusual.
class PlainReader {
 public:
  explicit PlainReader(DocumentData& data) noexcept : builder(data), data(data) {
    assert(*end == '\0' && IsXmlText(data.source));
  }

  // Inlines all that it calls, which makes reading a twelfth faster.
  [[gnu::flatten]] bool ReadDocument() {
    Skip(utf8ByteOrderMark);
    if (!ReadDeclaration() || !ReadOutsideRoot()) return false;
    if (Skip("<!DOCTYPE") && (!ReadDocumentType() || !ReadOutsideRoot())) return false;
    if (!Skip('<') || !ReadStartTag(next - 1)) return false;
    while (builder.IsInside()) {
      if (!ReadContent()) return false;
    }
    return ReadOutsideRoot() && next == end;
  }

 private:
  std::uint32_t OffsetOf(const char* place) const noexcept {
    return static_cast<std::uint32_t>(place - data.source.data());
  }

  // Skip what is there; false, and nothing skipped, if it is not.
  bool Skip(char character) noexcept {
    const bool isThere = *next == character;
    if (isThere) ++next;
    return isThere;
  }
  bool Skip(std::string_view text) noexcept {
    const bool isThere = std::string_view(next, end).starts_with(text);
    if (isThere) next += text.size();
    return isThere;
  }
  // text: before this place in the source. Sixteen bytes at a step, which spares a call for texts
  // that are mostly shorter than forty.
  bool SkipSeen(std::string_view text) noexcept {
    assert(text.data() + text.size() <= next);
    const std::size_t size = text.size();
    if (static_cast<std::size_t>(end - next) < size + sizeof(Bytes)) return Skip(text);
    const auto equalBytesAt = [&](std::size_t offset) {
      Bytes expected, actual;
      std::memcpy(&expected, text.data() + offset, sizeof expected);
      std::memcpy(&actual, next + offset, sizeof actual);
      return FirstSet(expected != actual);
    };
    std::size_t offset = 0;
    for (; size - offset > sizeof(Bytes); offset += sizeof(Bytes)) {
      if (equalBytesAt(offset) < sizeof(Bytes)) return false;
    }
    if (equalBytesAt(offset) < size - offset) return false;
    next += size;
    return true;
  }
  bool SkipBlanks() noexcept {
    const char* const start = next;
    while (IsWhiteSpace(*next)) ++next;
    return next != start;
  }
  // To the first byte for which ends holds.
  void SkipTo(auto ends) noexcept { next += LengthBefore({next, end}, ends); }
  // Beyond the first occurrence; false if there is none.
  bool SkipPast(std::string_view closing) noexcept {
    const std::size_t length = std::string_view(next, end).find(closing);
    if (length == std::string_view::npos) return false;
    next += length + closing.size();
    return true;
  }

  bool IsAtNameEnd() const noexcept { return *next == '>' || EndsName(ByteAt(next)); }
  // Empty if there is no name in ASCII.
  std::string_view ReadName() noexcept {
    const char* const start = next;
    if (*start == ':' || ByteAt(start) > '9') SkipTo([](auto byte) { return EndsName(byte); });
    return {start, next};
  }

  // The XML declaration, if there is one.
  bool ReadDeclaration() noexcept {
    if (!std::string_view(next, end).starts_with("<?xml") || !IsWhiteSpace(next[5])) return true;
    next += 5;
    if (!SkipSetting("version", {"1.0"})) return false;
    SkipSetting("encoding", {"UTF-8", "utf-8"});
    SkipSetting("standalone", {"yes", "no"});
    SkipBlanks();
    return Skip("?>");
  }
  bool SkipSetting(std::string_view name, std::initializer_list<std::string_view> values) noexcept {
    const char* const start = next;
    if (SkipBlanks() && Skip(name) && ReadAssignment() &&
        std::ranges::find(values, value) != values.end())
      return true;
    next = start;
    return false;
  }
  // A document type that declares nothing itself.
  bool ReadDocumentType() noexcept {
    if (!SkipBlanks() || ReadName().empty()) return false;
    SkipBlanks();
    const bool isPublic = Skip("PUBLIC");
    if (isPublic && (!SkipBlanks() || !ReadPublicId())) return false;
    if ((isPublic || Skip("SYSTEM")) && (!SkipBlanks() || !ReadValue())) return false;
    SkipBlanks();
    return Skip('>');
  }
  bool ReadPublicId() noexcept {
    static constexpr std::string_view punctuation = " \r\n'()+,/=?;!*#@$%";
    return ReadValue() && std::ranges::all_of(value, [](char character) {
             return !EndsName(static_cast<unsigned char>(character)) ||
                    punctuation.find(character) != std::string_view::npos;
           });
  }
  // Blanks, comments and processing instructions, until there is something else.
  bool ReadOutsideRoot() noexcept {
    for (;;) {
      SkipBlanks();
      const bool isComment = Skip("<!--");
      if (!isComment && !Skip("<?")) return true;
      if (isComment && !ReadComment()) return false;
      if (!isComment && !ReadInstruction()) return false;
    }
  }

  // Character data, and what follows it. First tries what came last time after the tag before, up
  // to a start tag's name: to compare takes less time than to search, and what was read once means
  // the same wherever content may be.
  bool ReadContent() {
    const char* const start = next;
    const Expectation& expected = expectations[lastTag % std::size(expectations)];
    if (expected.name != 0 && SkipSeen(expected.text) && IsAtNameEnd()) {
      const std::string_view name = data.names.Text(expected.name);
      return ReadTagRest(next - name.size() - 1, expected.name);
    }
    next = start;
    SkipTo([](auto byte) { return (byte == '<') | (byte == '&') | (byte == ']'); });
    if (Skip('<')) return ReadMarkup(start);
    if (Skip('&')) return ReadReference();
    return !Skip("]]>") && Skip(']');
  }
  // content: where the text before the "<" starts.
  bool ReadMarkup(const char* content) {
    if (Skip('/')) return ReadEndTag();
    if (Skip('?')) return ReadInstruction();
    if (!Skip('!')) return ReadStartTag(content);
    if (Skip("--")) return ReadComment();
    return Skip("[CDATA[") && SkipPast("]]>");
  }
  bool ReadStartTag(const char* content) {
    const char* const start = next - 1;
    const std::string_view name = ReadName();
    if (name.empty()) return false;
    const std::uint32_t number = data.names.Intern(name);
    expectations[lastTag % std::size(expectations)] = {number, {content, next}};
    return ReadTagRest(start, number);
  }
  // start: of the tag, whose name has been read.
  bool ReadTagRest(const char* start, std::uint32_t name) {
    if (*next != '>' && !ReadAttributes()) return false;
    const bool isEmptyTag = Skip('/');
    if (!Skip('>')) return false;
    builder.StartElement(name, OffsetOf(start), OffsetOf(next));
    if (isEmptyTag) builder.EndElement(OffsetOf(next));
    lastTag = 2 * name + isEmptyTag;
    return true;
  }
  bool ReadAttributes() {
    attributes.clear();
    while (SkipBlanks() && *next != '>' && *next != '/') {
      attributes.push_back(ReadName());
      if (attributes.back().empty() || !ReadAssignment()) return false;
    }
    std::ranges::sort(attributes);
    return std::ranges::adjacent_find(attributes) == attributes.end();
  }
  bool ReadAssignment() noexcept {
    SkipBlanks();
    if (!Skip('=')) return false;
    SkipBlanks();
    return ReadValue();
  }
  bool ReadValue() noexcept {
    const unsigned char quote = ByteAt(next);
    if (!Skip('"') && !Skip('\'')) return false;
    const char* const start = next;
    for (;;) {
      SkipTo([quote](auto byte) { return (byte == quote) | (byte == '<') | (byte == '&'); });
      value = {start, next};
      if (Skip(static_cast<char>(quote))) return true;
      if (!Skip('&') || !ReadReference()) return false;
    }
  }
  bool ReadEndTag() noexcept {
    assert(builder.IsInside());
    const char* const start = next - 2;
    const std::uint32_t name = builder.Innermost().name;
    if (!SkipSeen(data.names.Text(name))) return false;
    SkipBlanks();
    if (!Skip('>')) return false;
    builder.EndElement(OffsetOf(start));
    lastTag = 2 * name + 1;
    return true;
  }
  bool ReadReference() noexcept {
    if (!Skip('#')) return IsPredefined(ReadName()) && Skip(';');
    const int base = Skip('x') ? 16 : 10;
    std::uint32_t character = 0; // stays 0, which is not allowed, if the digits form no number
    next = std::from_chars(next, end, character, base).ptr;
    return IsXmlCharacter(character) && Skip(';');
  }
  bool ReadComment() noexcept { return SkipPast("--") && Skip('>'); }
  bool ReadInstruction() noexcept {
    const std::string_view target = ReadName();
    const bool isReserved =
        std::ranges::equal(target, std::string_view("xml"), {}, [](char it) { return it | 0x20; });
    if (target.empty() || isReserved) return false;
    return Skip("?>") || (SkipBlanks() && SkipPast("?>"));
  }

  // Text without markup, and the "<" and the name of the start tag behind it.
  struct Expectation {
    std::uint32_t name = 0; // 0: nothing is expected
    std::string_view text;
  };

  IndexBuilder builder;
  DocumentData& data;
  const char* next = data.source.data();
  const char* const end = next + data.source.size(); // of the zero after the source
  std::string_view value;                            // the last one read
  std::vector<std::string_view> attributes;          // the names in one start tag
  std::uint32_t lastTag = 0;     // twice its name's number, plus 1 if an element ended there
  Expectation expectations[128]; // by the last tag modulo their count
};

} // namespace

bool ReadPlainly(DocumentData& data) {
  return IsXmlText(data.source) && PlainReader(data).ReadDocument();
}

} // namespace Ostrum
