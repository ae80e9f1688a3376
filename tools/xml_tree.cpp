#include "xml_tree.h"

#include <corekit/corekit.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "host/ostrumxml/file.h"
#include "host/ostrumxml/parse.h"
#include "text.h"

using Ostrum::Attribute;
using Ostrum::Element;

namespace {

struct ParseResult {
  std::unique_ptr<Ostrum::Document> document;
  Ostrum::PARSER_ERROR error = Ostrum::NO_PARSER_ERROR;
  int line = 0;
  int column = 0;
};

ParseResult Parse(Ostrum::DocumentText text) {
  ParseResult result;
  const int length = static_cast<int>(text.Length());
  result.document.reset(Ostrum::ParseXML(std::move(text), length, result.error, result.line, result.column));
  return result;
}

// Finds the place where the parser stops at a byte that is no UTF-8.
void ExamineBytes(const std::string& fileName, Examination& examination) {
  std::ifstream file(fileName, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  examination.reason = "is not text in its encoding, or the encoding is not supported";
  if (bytes.starts_with("TVK1")) {
    examination.reason = "is encrypted; --encrypted opens it";
    return;
  }
  const std::size_t size = bytes.size();
  const ParseResult result = Parse(Ostrum::DocumentText(std::move(bytes), size));
  examination.line = result.line;
  examination.column = result.column;
}

std::string WhyNotRead(long readResult) {
  switch (readResult) {
    case Ostrum::ReadNoFile:
      return "there is no such file";
    case Ostrum::ReadUnreadable:
      return "is there but can't be read";
    case Ostrum::ReadRefused:
      return "is damaged, encrypted with another key, or not encrypted";
    case Ostrum::ReadTooLong:
      return "is longer than 2 GB";
    default:
      return "can't be read: out of memory";
  }
}

} // namespace

ElementName& NameTable::Of(const Element& element) {
  const std::wstring& name = element.GetName();
  const auto [entry, isNew] = names.try_emplace(&name);
  if (isNew) entry->second.text = ToLocaleExactly(name);
  return entry->second;
}

std::optional<std::string> TextOf(const Element& element) { return ToLocaleExactly(element.GetValue()); }

std::optional<std::string> AttributeOf(const Element& element, const std::string& name) {
  const Attribute attribute = element.GetAttribute(ToWide(name).c_str());
  if (attribute.IsNull()) return std::nullopt;
  return ToLocaleExactly(attribute.GetValue());
}

bool HasAttribute(const Element& element, const std::string& name) {
  return !element.GetAttribute(ToWide(name).c_str()).IsNull();
}

Element& AddChild(Element& parent, const std::string& name) {
  Element& child = parent.AddElementInto(ToWide(name).c_str());
  if (child.IsNull()) throw std::invalid_argument(name + " can't be the name of an element");
  return child;
}

void SetText(Element& element, const std::string& text) {
  static_cast<Ostrum::Value>(element).Set(ToWide(text).c_str());
}

void SetAttribute(Element& element, const std::string& name, const std::string& value) {
  const std::wstring wideName = ToWide(name);
  Attribute attribute = element.GetAttribute(wideName.c_str());
  if (attribute.IsNull()) attribute = element.CreateAttribute(wideName.c_str());
  if (attribute.IsNull()) throw std::invalid_argument(name + " can't be the name of an attribute");
  static_cast<Ostrum::Value>(attribute).Set(ToWide(value).c_str());
}

std::string SourceOf(const Ostrum::Document& document) { return document.GenerateXML(false).Utf8(); }

std::unique_ptr<Ostrum::Document> CopyOf(const Ostrum::Document& document) {
  return Parse(document.GenerateXML(false)).document;
}

std::string Examination::Complaint() const {
  if (line == 0) return ": " + reason;
  return ':' + std::to_string(line) + ':' + std::to_string(column) + ": " + reason;
}

Examination Examine(const std::string& fileName, bool encrypted) {
  Examination examination;
  Ostrum::DocumentText text;
  Ostrum::UTF_ENCODINGS encoding{};
  unsigned long byteCount = 0;
  const Ostrum::ByteFilter decrypt = encrypted ? &corekit::KCryptWrap::decrypt_data : nullptr;
  examination.readResult =
      Ostrum::ReadBufferFromFileNoExp(ToWide(fileName).c_str(), text, encoding, byteCount, decrypt);
  if (examination.readResult == Ostrum::ReadBadEncoding) {
    ExamineBytes(fileName, examination);
  } else if (examination.readResult != Ostrum::ReadDone) {
    examination.reason = WhyNotRead(examination.readResult);
  } else {
    const ParseResult result = Parse(std::move(text));
    examination.line = result.line;
    examination.column = result.column;
    if (result.document == nullptr) examination.reason = Ostrum::ReasonOf(result.error);
  }
  return examination;
}
