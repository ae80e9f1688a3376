#include "xml_tree.h"

#include <corekit/corekit.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "host/ostrumxml/file.h"
#include "host/ostrumxml/parse.h"
#include "text.h"

namespace {

LocaleText InLocale(const std::wstring& text) {
  bool isExact = true;
  std::string locale = ToLocale(text, &isExact);
  if (!isExact) return std::nullopt;
  return locale;
}

Ostrum::Attribute FindAttribute(const Element& element, const std::string& name) {
  return element.GetAttribute(ToWide(name).c_str());
}

std::unique_ptr<Ostrum::Document> Parse(Ostrum::DocumentText text, Examination& result) {
  const int length = static_cast<int>(text.Length());
  Ostrum::PARSER_ERROR error = Ostrum::NO_PARSER_ERROR;
  std::unique_ptr<Ostrum::Document> document(
      Ostrum::ParseXML(std::move(text), length, error, result.line, result.column));
  if (document == nullptr) result.reason = Ostrum::ReasonOf(error);
  return document;
}

std::string WhyNotRead(long readResult) {
  if (readResult == Ostrum::ReadNoFile) return "there is no such file";
  if (readResult == Ostrum::ReadUnreadable) return "is there but can't be read";
  if (readResult == Ostrum::ReadRefused) return "is damaged, encrypted with another key, or not encrypted";
  return readResult == Ostrum::ReadTooLong ? "is longer than 2 GB" : "can't be read: out of memory";
}

// Finds the place where the parser stops at a byte that is no UTF-8.
void ExamineBytes(const std::string& fileName, Examination& result) {
  std::ifstream file(fileName, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const bool isEncrypted = bytes.starts_with("TVK1");
  const std::size_t size = bytes.size();
  if (!isEncrypted) Parse(Ostrum::DocumentText(std::move(bytes), size), result);
  result.reason = isEncrypted ? "is encrypted; --encrypted opens it"
                              : "is not text in its encoding, or the encoding is not supported";
}

} // namespace

const LocaleText& NameTable::Of(const Element& element) {
  const std::wstring& name = element.GetName();
  const auto [entry, isNew] = names.try_emplace(&name);
  if (isNew) entry->second = InLocale(name);
  return entry->second;
}

LocaleText TextOf(const Element& element) { return InLocale(element.GetValue()); }

LocaleText AttributeOf(const Element& element, const std::string& name) {
  const Ostrum::Attribute attribute = FindAttribute(element, name);
  if (attribute.IsNull()) return std::nullopt;
  return InLocale(attribute.GetValue());
}

bool HasAttribute(const Element& element, const std::string& name) { return !FindAttribute(element, name).IsNull(); }

Element& AddChild(Element& parent, const std::string& name) {
  Element& child = parent.AddElementInto(ToWide(name).c_str());
  if (child.IsNull()) throw std::invalid_argument(name + " can't be the name of an element");
  return child;
}

void SetText(Element& element, const std::string& text) {
  static_cast<Ostrum::Value>(element).Set(ToWide(text).c_str());
}

void SetAttribute(Element& element, const std::string& name, const std::string& value) {
  Ostrum::Attribute attribute = FindAttribute(element, name);
  if (attribute.IsNull()) attribute = element.CreateAttribute(ToWide(name).c_str());
  if (attribute.IsNull()) throw std::invalid_argument(name + " can't be the name of an attribute");
  static_cast<Ostrum::Value>(attribute).Set(ToWide(value).c_str());
}

std::string SourceOf(const Ostrum::Document& document) { return document.GenerateXML(false).Utf8(); }

bool IsWholeInLocale(const Ostrum::Document& document) {
  bool isExact = true;
  if (!LocaleIsUtf8()) FromUtf8(SourceOf(document), &isExact);
  return isExact;
}

std::unique_ptr<Ostrum::Document> CopyOf(const Ostrum::Document& document) {
  Examination result{};
  return Parse(document.GenerateXML(false), result);
}

std::string Examination::Complaint() const {
  const std::string place = line == 0 ? "" : std::to_string(line) + ':' + std::to_string(column) + ':';
  return ':' + place + ' ' + reason;
}

Examination Examine(const std::string& fileName, bool encrypted) {
  Ostrum::DocumentText text;
  Ostrum::UTF_ENCODINGS encoding{};
  unsigned long byteCount = 0;
  const Ostrum::ByteFilter decrypt = encrypted ? &corekit::KCryptWrap::decrypt_data : nullptr;
  Examination result{Ostrum::ReadBufferFromFileNoExp(ToWide(fileName).c_str(), text, encoding, byteCount, decrypt)};
  if (result.readResult == Ostrum::ReadBadEncoding) {
    ExamineBytes(fileName, result);
  } else if (result.readResult == Ostrum::ReadDone) {
    Parse(std::move(text), result);
  } else {
    result.reason = WhyNotRead(result.readResult);
  }
  return result;
}
