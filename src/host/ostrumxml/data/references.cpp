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

// The entities that XML predefines.
struct Entity {
  std::string_view name;
  char character;
};
constexpr Entity predefined[] = {
    {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

std::string Escape(std::string_view text, std::string_view special) {
  std::string escaped;
  escaped.reserve(text.size());
  for (;;) {
    const std::size_t plain = text.find_first_of(special);
    escaped += text.substr(0, plain);
    if (plain == std::string_view::npos) return escaped;
    const char character = text[plain];
    const auto* const entity = std::ranges::find(predefined, character, &Entity::character);
    escaped += '&';
    if (entity != std::end(predefined)) {
      escaped += entity->name;
    } else {
      escaped.append("#").append(std::to_string(character));
    }
    escaped += ';';
    text.remove_prefix(plain + 1);
  }
}

} // namespace

bool IsPredefined(std::string_view entityName) noexcept {
  return std::ranges::find(predefined, entityName, &Entity::name) != std::end(predefined);
}

void AppendCharacters(std::string_view raw, std::string& text, std::size_t limit) {
  while (!raw.empty() && text.size() < limit) {
    const std::string_view part = raw.substr(0, limit - text.size());
    const std::size_t lineEnd = part.find('\r');
    text += part.substr(0, lineEnd);
    raw.remove_prefix(std::min(lineEnd, part.size()));
    if (lineEnd == std::string_view::npos) continue;
    text += '\n';
    raw.remove_prefix(raw.starts_with("\r\n") ? 2 : 1);
  }
}

void AppendReference(std::string_view name, std::string& text) {
  assert(!name.empty());
  if (name.front() != '#') {
    const auto* const entity = std::ranges::find(predefined, name, &Entity::name);
    if (entity != std::end(predefined)) text += entity->character;
    return;
  }
  name.remove_prefix(1);
  int base = 10;
  if (name.starts_with('x')) {
    base = 16;
    name.remove_prefix(1);
  }
  std::uint32_t character = 0;
  std::from_chars(name.data(), name.data() + name.size(), character, base);
  AppendUtf8(character, text);
}

std::string FoldSpaces(std::string_view value) {
  std::string folded;
  folded.reserve(value.size());
  for (const char character : value) {
    if (character == ' ' && (folded.empty() || folded.back() == ' ')) continue;
    folded += character;
  }
  if (!folded.empty() && folded.back() == ' ') folded.pop_back();
  return folded;
}

std::string EscapeText(std::string_view text) { return Escape(text, "&<>\r"); }

std::string EscapeAttribute(std::string_view value, char quote) {
  return Escape(value, quote == '"' ? "&<\"\t\n\r" : "&<'\t\n\r");
}

} // namespace Ostrum
