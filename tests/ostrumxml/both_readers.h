// Compares the plain reader with the parser, on any text and on generated documents.
#ifndef TARVIK_TESTS_OSTRUMXML_BOTH_READERS_H
#define TARVIK_TESTS_OSTRUMXML_BOTH_READERS_H

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "host/ostrumxml/data/document_data.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/read/readers.h"
#include "support/text.h"

// The records and names of all elements, in document order.
inline std::string Index(const Ostrum::DocumentData& data) {
  std::string index;
  std::vector<std::uint32_t> toVisit{data.root};
  while (!toVisit.empty()) {
    const std::uint32_t element = toVisit.back();
    toVisit.pop_back();
    if (element == 0) continue;
    const Ostrum::ElementRecord& record = data.elements[element];
    index.append(reinterpret_cast<const char*>(&record), sizeof record)
        .append(data.NameOf(element));
    toVisit.insert(toVisit.end(), {record.nextSibling, data.FirstChild(element)});
  }
  return index;
}

enum class Comparison { ReadPlainly, Unknown, Different };

inline Comparison CompareReaders(const std::string& source) {
  Ostrum::DocumentData plain(source);
  if (!Ostrum::ReadPlainly(plain)) return Comparison::Unknown;
  Ostrum::DocumentData parsed(source);
  const bool isEqual = Ostrum::ReadByParser(parsed).error == Ostrum::NO_PARSER_ERROR &&
                       Index(plain) == Index(parsed) && parsed.source == source &&
                       parsed.entities.empty() && parsed.declarations.empty();
  return isEqual ? Comparison::ReadPlainly : Comparison::Different;
}

// Writes documents that are nearly well-formed: the same for the same seed on every machine.
class DocumentWriter {
 public:
  explicit DocumentWriter(std::uint64_t seed) : random(seed) {}

  // Valid UTF-8.
  std::string Write() {
    static const Words starts = Split(
        "\xEF\xBB\xBF|<?xml version='1.0'?>|<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n|"
        "<?xml version = '1.0' encoding='utf-8' standalone='yes' ?>");
    static const Words types = Split(
        "<!DOCTYPE a>|<!DOCTYPE a SYSTEM 'a.dtd' >|<!DOCTYPE a PUBLIC \"-//A//B 1.0\" \"a&amp;\">|"
        "<!DOCTYPE a [<!ENTITY e 'x'>]>|<!DOCTYPE a [<!ATTLIST a b CDATA 'c'>]>");
    text.clear();
    if (OneOf(2)) Add(starts);
    WriteOutside();
    if (OneOf(4)) Add(types);
    WriteOutside();
    WriteElement(4);
    WriteOutside();
    const std::string whole = text;
    for (std::uint64_t count = Below(4); count > 0; --count) Damage();
    return Ostrum::IsUtf8(text) ? text : whole;
  }

 private:
  using Words = std::vector<std::string_view>;

  std::size_t Below(std::uint64_t limit) { return static_cast<std::size_t>(random() % limit); }
  bool OneOf(std::uint64_t times) { return Below(times) == 0; }
  void Add(const Words& words) { text += words[Below(words.size())]; }
  // Adds up to 40 bytes, so that what follows stands at any place of a vector.
  void Pad() {
    const std::size_t count = Below(40);
    text.append(count, "x \n\t-]?."[Below(8)]);
  }

  void WriteOutside() {
    static const Words pieces = Split("\n|<!---->|<?p?>| |<!-- - -->|<?xm l?>");
    if (OneOf(4)) Add(pieces);
  }
  void WriteElement(int depth) {
    static const Words names = Split("a|b|ab|name-of_17|x:y.z|_a_name_of_16_");
    static const Words spaces = Split("||| |\r\n\t");
    const std::string name(names[Below(names.size())]);
    text += "<" + name;
    for (std::uint64_t i = 0, count = Below(4); i < count; ++i)
      WriteAttribute(OneOf(16) ? "n0" : "n" + std::to_string(i));
    Add(spaces);
    if (OneOf(4)) return void(text += "/>");
    text += ">";
    for (std::uint64_t count = Below(4); count > 0; --count)
      OneOf(3) && depth > 0 ? WriteElement(depth - 1) : WriteContent();
    text += "</" + name;
    Add(spaces);
    text += ">";
  }
  void WriteAttribute(const std::string& name) {
    static const Words values = Split("|v|&lt;|&#65;&#x1F600;|\"|\xC3\xA9|\xEF\xBC\x8C|>]]>");
    const std::string_view value = values[Below(values.size())];
    const char quote = OneOf(2) && value != "\"" ? '"' : '\'';
    text.append(OneOf(8) ? "\n\t" : " ").append(name).append(OneOf(8) ? " = " : "=");
    text.append(1, quote).append(value);
    if (OneOf(4)) Pad();
    text += quote;
  }
  void WriteContent() {
    static const Words openings =
        Split("||&amp;|&#x41;|\xE4\xB8\xAD|\xEF\xBF\xBD|<!--|<?p |<![CDATA[|]");
    static const Words closings = Split("||||||-->|?>|]]>|");
    const std::size_t which = Below(openings.size());
    text += openings[which];
    Pad();
    text += closings[which];
  }

  void Damage() {
    using namespace std::string_view_literals;
    static const Words parts = Split(
        "<|>|/|!|?|&|;|=|'|\"|]|]]>|]]|-|--|-->|<!--|<!|<![CDATA[|<?|?>|<?xml |<?XML?>|"
        "<?xml version='1.0'?>|</|/>|<a>|</a>|<a/>| b='c'| n0=''|&lt|&amp;|&lt;|&e;|&#|&#x|&#0;|"
        "&#65;|&#xD800;|&#xFFFE;|&#x110000;|&#4294967361;|&#-1;|\xEF\xBB\xBF|\xEF\xBF\xBE|"
        "\xEF\xBF\xBF|\xEF\xBF\xBD|\xC3\xA9|\xE4\xB8\xAD|\xF0\x9F\x98\x80|\xF0\x9F\xBF\xBE|\x7F|"
        "\xC2\x85|\x01|\x0B|\x1F|\t|\r|\n| |\0|<!DOCTYPE|<!DOCTYPE a| SYSTEM 'x'| PUBLIC 'x' 'y'|"
        " PUBLIC 'x\t' 'y'|[|<!ENTITY e 'x'>|<!ENTITY % p 'x'>|%p;|<!ATTLIST a b CDATA 'c'>|"
        "version='1.0'| version='1.1'| encoding='UTF-8'| encoding='x'| standalone='no'|"
        " standalone='maybe'|xml|:|."sv);
    const std::size_t place = Below(text.size() + 1), other = Below(text.size() + 1);
    const std::uint64_t kind = Below(6);
    if (kind == 0) text.erase(place, 1 + Below(3));
    if (kind == 1) text.erase(place, Below(text.size() + 1));
    if (kind == 2) text.resize(place);
    if (kind == 3) text.insert(place, text.substr(other, Below(40)));
    if (kind > 3) text.insert(place, parts[Below(parts.size())]);
  }

  std::mt19937_64 random;
  std::string text;
};

#endif
