#include "path.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <string_view>

#include "commands.h"
#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/data/xml_text.h"

namespace {

// How a path of the library's functions, such as Net\Server&name=a, is written here.
std::string Translated(std::string_view text) {
  std::string path;
  while (!text.empty()) {
    const bool hasFilter = text.find('&') < text.find_first_of("\\/");
    const std::string_view part = text.substr(0, text.find_first_of(hasFilter ? "\\" : "\\/"));
    const std::string_view name = part.substr(0, part.find('&'));
    const std::string_view filter = part.substr(std::min(name.size() + 1, part.size()));
    const std::size_t equals = filter.find('=');
    path.append(path.empty() ? "" : "/").append(name);
    if (equals != std::string_view::npos) {
      const char quote = filter.find('\'') == std::string_view::npos ? '\'' : '"';
      path.append("[@").append(filter.substr(0, equals)).append("=") += quote;
      path.append(filter.substr(equals + 1)).append({quote, ']'});
    }
    text.remove_prefix(std::min(part.size() + 1, text.size()));
  }
  return path;
}

// What XPath has and paths here do not, by what shows it in the place of a name.
struct Unsupported {
  std::string_view sign;
  const char* reason;
};
constexpr Unsupported unsupportedNames[] = {
    {"..", ".. is not supported; write the path from the root"},
    {"::", "axes such as child:: are not supported"},
    {"text()", "text() is not supported; the path of an element stands for its text"},
    {"(", "functions are not supported"},
    {"|", "| is not supported; give several paths"},
};

std::string WithoutBlanks(std::string_view text) {
  std::string result(text);
  std::erase_if(result, Ostrum::IsWhiteSpace);
  return result;
}

class PathParser {
 public:
  explicit PathParser(const std::string& text) : path{text, {}, {}}, rest(path.text) {}

  Path Parse() {
    if (rest.empty()) throw UsageError("a path is empty; the root is .");
    const bool isAbsolute = Take("/");
    if (isAbsolute && rest.empty()) Refuse("the root is .");
    if (!isAbsolute) path.steps.emplace_back();
    if (!isAbsolute && (rest == "." || rest.starts_with("./"))) {
      Take(".");
      if (!Take("/")) return std::move(path);
    }
    do ParsePart();
    while (Take("/"));
    assert(rest.empty() && !path.steps.empty());
    return std::move(path);
  }

 private:
  [[noreturn]] void Refuse(const std::string& why) const {
    throw UsageError(path.text + ": " + why);
  }

  bool Take(std::string_view sign) {
    if (!rest.starts_with(sign)) return false;
    rest.remove_prefix(sign.size());
    return true;
  }

  void ParsePart() {
    if (Take("@")) return ParseAttribute();
    const std::string_view start = rest;
    Step step;
    step.name = rest.substr(0, rest.find_first_of("/["));
    RequireName(step.name);
    rest.remove_prefix(step.name.size());
    while (Take("[")) ParsePredicate(step);
    if (!rest.empty() && rest.front() != '/') Refuse("nothing but / or [ may follow a ]");
    step.text = start.substr(0, start.size() - rest.size());
    path.steps.push_back(std::move(step));
  }

  void RequireName(const std::string& name) const {
    if (name == "*") return;
    if (name.find_first_of("\\&") != std::string::npos) {
      Refuse("this is a path of the library's functions; write " + Translated(path.text));
    }
    if (name.empty() && rest.starts_with('/')) Refuse("// is not supported; write each name");
    if (name.empty()) Refuse("a name is missing");
    if (name == ".") Refuse(". can only be the first part of a path");
    for (const auto& [sign, reason] : unsupportedNames) {
      if (name.find(sign) != std::string::npos) Refuse(reason);
    }
    if (!Ostrum::IsXmlName(name)) Refuse(name + " is not a valid XML name");
  }

  void ParseAttribute() {
    path.attribute = rest;
    if (path.attribute.starts_with('*')) Refuse("@* is not supported; name one attribute");
    if (path.attribute.find('/') != std::string::npos) Refuse("an attribute must be the last part");
    if (!Ostrum::IsXmlName(path.attribute)) Refuse("@ must be followed by an attribute's name");
    if (path.steps.empty()) Refuse("the root's attribute is written @" + path.attribute);
    rest = {};
  }

  // What is in brackets, up to the closing one, which may also be part of a quoted value.
  std::string_view TakePredicate() {
    char quote = '\0';
    for (std::size_t i = 0; i < rest.size(); ++i) {
      const bool isQuote = rest[i] == '\'' || rest[i] == '"';
      if (quote == '\0' && rest[i] == ']') {
        const std::string_view predicate = rest.substr(0, i);
        rest.remove_prefix(i + 1);
        return predicate;
      }
      if (quote == '\0' && isQuote) {
        quote = rest[i];
      } else if (rest[i] == quote) {
        quote = '\0';
      }
    }
    Refuse("a [ is not closed");
  }

  void ParsePredicate(Step& step) {
    const std::string_view predicate = TakePredicate();
    const std::string sign = WithoutBlanks(predicate);
    if (sign.starts_with('@')) return ParseFilter(step, predicate);
    if (step.position != Position::All) Refuse("a second position in brackets is not supported");
    if (sign == "last()") {
      step.position = Position::Last;
    } else if (sign == "last()+1") {
      step.position = Position::Next;
    } else {
      step.position = Position::Number;
      step.number = ParseNumber(sign);
    }
  }

  std::uint32_t ParseNumber(const std::string& digits) const {
    const bool isNumber = digits.find_first_not_of("0123456789") == std::string::npos;
    if (digits.empty() || !isNumber) {
      Refuse("brackets hold a number, last(), last()+1 or @name='value', and not " + digits);
    }
    std::uint32_t number = UINT32_MAX; // stays if the number is too large for any element
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (number == 0) Refuse("elements are counted from 1");
    return number;
  }

  void ParseFilter(Step& step, std::string_view predicate) const {
    const auto [start, equals] = std::pair(predicate.find('@') + 1, predicate.find('='));
    const std::string name = WithoutBlanks(predicate.substr(start, equals - start));
    if (step.position != Position::All) Refuse("a number must follow [@" + name + "='...']");
    if (!step.key.empty()) Refuse("a second [@...] is not supported");
    if (equals == std::string_view::npos || !Ostrum::IsXmlName(name)) {
      Refuse('[' + std::string(predicate) + "] is not supported; a filter is [@name='value']");
    }
    std::string_view value = predicate.substr(equals + 1);
    while (!value.empty() && Ostrum::IsWhiteSpace(value.front())) value.remove_prefix(1);
    while (!value.empty() && Ostrum::IsWhiteSpace(value.back())) value.remove_suffix(1);
    const bool isQuoted = value.size() >= 2 && (value[0] == '\'' || value[0] == '"') &&
                          value.find(value[0], 1) == value.size() - 1;
    if (!isQuoted) Refuse("the value must be quoted, and nothing follow it: [@" + name + "='...']");
    step.key = name;
    step.value = value.substr(1, value.size() - 2);
  }

  Path path;
  std::string_view rest; // of path.text
};

} // namespace

Path ParsePath(const std::string& text) { return PathParser(text).Parse(); }
