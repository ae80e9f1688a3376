#include "paths.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstring>
#include <string_view>

#include "commands.h"
#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/data/xml_text.h"

namespace {

// How a path of the library's functions, such as Net\Server&name=a, is written here.
std::string Translated(std::string_view text) {
  std::string path;
  for (std::size_t at = 0, end = 0; at < text.size(); at = end + 1) {
    end = std::min(text.find('\\', at), text.size());
    const std::string_view part = text.substr(at, end - at);
    const std::string_view name = part.substr(0, part.find('&'));
    path.append(at > 0 ? "/" : "").append(name);
    const std::size_t equals = part.find('=', name.size());
    if (equals == std::string_view::npos) continue;
    const std::string_view value = part.substr(equals + 1);
    const std::string quote(1, value.find('\'') == std::string_view::npos ? '\'' : '"');
    path.append("[@").append(part, name.size() + 1, equals - name.size());
    path.append(quote).append(value).append(quote + ']');
  }
  return path;
}

// What XPath has and paths here do not, by what shows it in the place of a name.
constexpr std::pair<std::string_view, const char*> unsupportedNames[] = {
    {"..", ".. is not supported; write the path from the root"},
    {"::", "axes such as child:: are not supported"},
    {"text()", "text() is not supported; the path of an element stands for its text"},
    {"(", "functions are not supported"},
    {"|", "| is not supported; give several paths"},
};

class PathParser {
 public:
  explicit PathParser(const std::string& text) : path{text, {}, {}}, rest(path.text) {}

  Path Parse() {
    if (rest.empty()) throw UsageError("a path is empty; the root is .");
    if (rest == "/") Refuse("the root is .");
    if (!Take("/")) path.steps.emplace_back();
    if (rest == "." && !path.steps.empty()) return std::move(path);
    if (!path.steps.empty()) Take("./");
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
    if (step.name == "*") step.name.clear();
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
    if (rest.starts_with('/')) Refuse("// is not supported; write each name");
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

  // Takes what is in brackets, with the closing one, and returns it without quoted text, which
  // becomes the value, and without white space, of which a blank stays between words or numbers.
  std::string TakePredicate(std::string& value) {
    const auto isWord = [](char sign) { return std::strchr("@=()+'\"", sign) == nullptr; };
    std::string signs;
    bool isApart = false;
    while (!Take("]")) {
      const bool isQuote = rest.starts_with('\'') || rest.starts_with('"');
      const std::size_t last = isQuote ? rest.find(rest.front(), 1) : 0;
      if (last >= rest.size()) Refuse("a [ is not closed");
      if (isQuote) value = rest.substr(1, last - 1);
      const bool isBlank = Ostrum::IsWhiteSpace(rest.front());
      if (!isBlank && isApart && isWord(signs.back()) && isWord(rest.front())) signs += ' ';
      if (!isBlank) signs += rest.front();
      isApart = isBlank && !signs.empty();
      rest.remove_prefix(last + 1);
    }
    return signs;
  }

  void ParsePredicate(Step& step) {
    const std::string_view start = rest;
    const std::string sign = TakePredicate(step.value);
    const std::string written(start.substr(0, start.size() - rest.size() - 1));
    if (sign.starts_with('@')) return ParseFilter(step, sign, written);
    if (step.position != Position::All) Refuse("a second position in brackets is not supported");
    if (sign == "last()" || sign == "last()+1") {
      step.position = Position::FromLast;
      step.number = sign.ends_with('1');
      return;
    }
    if (sign.empty() || sign.find_first_not_of("0123456789") != std::string::npos)
      Refuse("brackets hold a number, last(), last()+1 or @name='value', and not " + written);
    step.position = Position::Number;
    step.number = UINT32_MAX; // stays if the number is too large for any element
    std::from_chars(sign.data(), sign.data() + sign.size(), step.number);
    if (step.number == 0) Refuse("elements are counted from 1");
  }

  // sign: with a quote in place of a quoted text.
  void ParseFilter(Step& step, const std::string& sign, const std::string& written) const {
    const std::size_t equals = sign.find('=');
    const std::string name = sign.substr(1, equals - 1);
    if (step.position != Position::All) Refuse("a number must follow [@" + name + "='...']");
    if (!step.key.empty()) Refuse("a second [@...] is not supported");
    if (equals == std::string::npos || !Ostrum::IsXmlName(name))
      Refuse('[' + written + "] is not supported; a filter is [@name='value']");
    const std::string value = sign.substr(equals + 1);
    if (value != "'" && value != "\"")
      Refuse("the value must be quoted, and nothing follow it: [@" + name + "='...']");
    step.key = name;
  }

  Path path;
  std::string_view rest; // of path.text
};

} // namespace

Path ParsePath(const std::string& text) { return PathParser(text).Parse(); }
