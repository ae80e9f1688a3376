#include "host/ostrumxml/data/references.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string>

#include "host/ostrumxml/data/utf8.h"

namespace Ostrum {
namespace {

// The characters that are escaped, by the entities that XML predefines or as character references.
struct Escaped {
  std::string_view name;
  char character;
};
constexpr Escaped escapes[] = {{"amp", '&'},   {"lt", '<'},  {"gt", '>'},   {"quot", '"'},
                               {"apos", '\''}, {"#9", '\t'}, {"#10", '\n'}, {"#13", '\r'}};

std::string Escape(std::string_view text, std::string_view special) {
  std::string escaped;
  escaped.reserve(text.size());
  for (;;) {
    const std::size_t plain = text.find_first_of(special);
    escaped += text.substr(0, plain);
    if (plain == std::string_view::npos) return escaped;
    const auto* const escape = std::ranges::find(escapes, text[plain], &Escaped::character);
    assert(escape != std::end(escapes));
    escaped.append("&").append(escape->name).append(";");
    text.remove_prefix(plain + 1);
  }
}

} // namespace

bool IsPredefined(std::string_view entityName) noexcept {
  assert(!entityName.starts_with('#'));
  return std::ranges::find(escapes, entityName, &Escaped::name) != std::end(escapes);
}

void AppendCharacters(std::string_view raw, std::string& text) {
  for (;;) {
    const std::size_t line = raw.find('\r');
    text += raw.substr(0, line);
    if (line == std::string_view::npos) return;
    text += '\n';
    raw.remove_prefix(line + 1);
    if (raw.starts_with('\n')) raw.remove_prefix(1);
  }
}

bool AppendReference(std::string_view name, std::string& text) {
  assert(!name.empty());
  if (name.front() != '#') {
    const auto* const entity = std::ranges::find(escapes, name, &Escaped::name);
    if (entity == std::end(escapes)) return false;
    text += entity->character;
    return true;
  }
  name.remove_prefix(1);
  int base = 10;
  if (name.starts_with('x')) {
    base = 16;
    name.remove_prefix(1);
  }
  std::uint32_t character = 0;
  std::from_chars(name.data(), name.data() + name.size(), character, base);
  return AppendUtf8(character, text);
}

std::string FoldSpaces(std::string_view value) {
  std::string folded(value);
  const auto areSpaces = [](char left, char right) { return left == ' ' && right == ' '; };
  folded.erase(std::unique(folded.begin(), folded.end(), areSpaces), folded.end());
  if (folded.starts_with(' ')) folded.erase(0, 1);
  if (folded.ends_with(' ')) folded.pop_back();
  return folded;
}

std::string EscapeText(std::string_view text) { return Escape(text, "&<>\r"); }

std::string EscapeAttribute(std::string_view value, char quote) {
  assert(quote == '"' || quote == '\'');
  return Escape(value, std::string("&<\t\n\r") + quote);
}

} // namespace Ostrum
