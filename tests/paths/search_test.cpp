// A search asks the document wherever it can; what it finds must be what a walk finds that converts
// each name and value.
#include <gtest/gtest.h>

#include <random>

#include "host/ostrumxml/data/utf8.h"
#include "ostrumxml/parsed_document.h"
#include "paths/path_search.h"
#include "support/locale_guard.h"
#include "text/convert.h"

namespace {

using Ostrum::Element;
using Ostrum::NameMatch;
using Texts = std::vector<std::string>;

// In UTF-8. Latin-1 lacks the Cyrillic and the Chinese character; windows-31j has a second form of
// the latter, and one whose second byte is a backslash. Two names differ only after eight bytes.
const Texts names = {"\u7E8A",  "a",       "ab",     "abc",       "\u00E4",    "a-",
                     "a\u0416", "a\u7E8A", "\u8868", "element-2", "element-1", "b\u0416"};
const Texts values = {"",        "1",      "12",     "1\u0416", "\u00E4",
                      "\u00E4b", "\u8868", "\u7E8A", "2\u7E8A", "\u04161"};

std::optional<std::string> InLocale(std::string_view utf8) {
  const MultiByteText converted(ConvertToMultiByte(Ostrum::WideFromUtf8(utf8)));
  if (converted == nullptr) return std::nullopt;
  return converted.get();
}

// Compares with a walk that converts everything.
void ExpectWhatAWalkFinds(const Element& parent, const ChildSearch& search) {
  std::uint32_t n = search.n;
  Element child = parent.FirstChild();
  for (; !child.IsNull(); child = child.NextSibling()) {
    const auto name = InLocale(child.GetName());
    if (!name || !name->starts_with(search.name)) continue;
    if (search.match == NameMatch::Exact && *name != search.name) continue;
    const Ostrum::Value attribute =
        child.GetAttribute(search.attribute == nullptr ? "" : search.attribute);
    if (search.attribute != nullptr && attribute.IsNull()) continue;
    const auto value = InLocale(attribute.GetValue());
    if (search.valueBegin != nullptr && !(value && value->starts_with(search.valueBegin))) continue;
    if (n-- == 1) break;
  }
  EXPECT_EQ(FindChild(parent, search), child) << search.name << " " << search.n;
}

void ExpectCount(const Element& parent, std::string_view name) {
  std::uint32_t count = 0;
  for (Element child = parent.FirstChild(); !child.IsNull(); child = child.NextSibling())
    count += child.GetName() == name;
  EXPECT_EQ(parent.CountChildren(name), count) << name;
}

class Random {
 public:
  std::uint32_t Below(std::size_t end) { return static_cast<std::uint32_t>(engine() % end); }
  const std::string& Any(const Texts& texts) { return texts[Below(texts.size())]; }

 private:
  std::mt19937 engine{11};
};

std::string Children(Random& random, std::size_t count) {
  std::string markup;
  for (std::size_t i = 0; i < count; ++i) {
    markup += "<" + random.Any(names);
    std::string value = random.Any(values);
    if (value.ends_with('1')) value.replace(value.size() - 1, 1, "&#49;"); // has to be decoded
    if (random.Below(2) != 0) markup += " k='" + value + "'";
    if (random.Below(2) != 0) markup += " m='1'";
    markup += "/>";
  }
  return markup;
}

// What callers can ask in the current locale: all that has a form there, parts of characters, a
// second form of a character, and bytes that are none.
Texts Asked(const Texts& utf8) {
  Texts asked = {"", "\xED\x40", "\xE3", "\xFF", "b"};
  for (const std::string& text : utf8) {
    if (auto form = InLocale(text)) asked.push_back(*std::move(form));
  }
  return asked;
}

// Also while children and attributes are added and changed, and when the next character set finds
// the index of the last one. Around 24 children, the index begins.
TEST(Search, FindsWhatAWalkFindsInEveryCharacterSet) {
  Random random;
  const Texts locales = hasUtf8 ? Texts{"C", "C.UTF-8", "ISO-8859-1", multibyteLocale}
                                : Texts{narrowLocale, multibyteLocale};
  for (const std::size_t count : {0U, 23U, 24U, 25U, 150U}) {
    const Parsed parsed("<a>" + Children(random, count) + "</a>"); // "a>" is after "a-"
    Element parent = parsed.At("");
    for (const std::string& locale : locales) {
      SCOPED_TRACE(locale + ", " + std::to_string(count) + " children");
      const LocaleGuard guard(locale);
      const Texts askedNames = Asked(names), askedValues = Asked(values);
      for (int step = 0; step < 300; ++step) {
        const char* const name = random.Any(askedNames).c_str();
        const std::uint32_t n = random.Below(step % 3 == 0 ? 4 : 60);
        const auto match = random.Below(2) == 0 ? NameMatch::Exact : NameMatch::Prefix;
        ExpectWhatAWalkFinds(parent, {match, name, n});
        const char* const key = random.Below(2) == 0 ? "k" : "m";
        ExpectWhatAWalkFinds(parent, {match, name, n, key});
        const char* const value = random.Any(askedValues).c_str();
        ExpectWhatAWalkFinds(parent, {match, name, 1, key, value});
        EXPECT_TRUE(
            FindChild(parent, {match, name, 1, "\xFF"}).IsNull()); // is text nowhere, or no name
        const std::string& counted = random.Any(names);
        if (step % 20 == 1) parent.AddElementInto(counted);
        ExpectCount(parent, counted);
        Element changed = parent.NthChild(NameMatch::Prefix, "", 1 + random.Below(60));
        if (step % 30 == 0 && !changed.IsNull()) changed.SetAttribute("k", random.Any(values));
        if (step % 10 == 5 && !changed.GetAttribute("k").IsNull()) changed.RemoveAttribute("k");
        if (step % 30 == 20 && !changed.IsNull()) parent.RemoveChild(changed);
      }
    }
  }
}

} // namespace
