// Reading sessions, which README.md beside this file describes.
#ifndef TARVIK_TESTS_SESSIONS_SCRIPT_H
#define TARVIK_TESTS_SESSIONS_SCRIPT_H

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/text.h"

// The words of a line: plain ones by their number, and options by their name. "-" is null.
class Words {
 public:
  explicit Words(const std::string& line) {
    static const std::regex form("(?:([a-z]+)=)?(?:\"([^\"]*)\"|([^ ]+))");
    for (std::sregex_iterator it(line.begin(), line.end(), form), end; it != end; ++it) {
      const std::string name = (*it)[1].matched ? it->str(1) : std::to_string(count++);
      if (it->str(3) != "-") words[name] = Unescape(it->str(2) + it->str(3));
      words.try_emplace(name);
      unused.insert(name);
    }
  }

  std::size_t Count() const { return count; } // of the plain words
  bool AreAllUsed() const { return unused.empty(); }
  bool Has(const std::string& name) const { return words.count(name) > 0; }
  const char* Text(std::size_t n) const {
    if (n >= count) throw std::runtime_error("a word is missing");
    return Option(std::to_string(n), nullptr);
  }
  const char* Option(const std::string& name, const char* otherwise) const {
    if (!Has(name)) return otherwise;
    unused.erase(name);
    const std::optional<std::string>& text = words.at(name);
    return text ? text->c_str() : nullptr;
  }
  template <class T>
  T Number(const std::string& name, T otherwise) const {
    const char* const text = Option(name, nullptr);
    return text == nullptr ? otherwise : static_cast<T>(std::stoll(text, nullptr, 0));
  }
  bool IsNull(const std::string& name) const { return Option(name, "") == nullptr; }
  template <class T>
  T* Unless(const std::string& name, T* pointer) const {
    return IsNull(name) ? nullptr : pointer;
  }

 private:
  std::map<std::string, std::optional<std::string>> words;
  std::size_t count = 0;
  mutable std::set<std::string> unused;
};

// The first word, and the rest of a line.
inline std::pair<std::string, std::string> SplitOne(const std::string& line) {
  return SplitAt(line, " ");
}

struct ScriptLine {
  int number; // in its file
  std::string text;
  bool isIndented;
};

struct Script {
  std::string file, name;
  std::map<std::string, std::string> shorts; // forms of log lines: "*" stands for what differs
  std::vector<ScriptLine> lines;
};

// A line with "{name}" replaced by its value, and repeated text.
inline std::string Expand(std::string line, const Words& values) {
  static const std::regex form("\\{(\\w+)\\}");
  for (std::smatch m; std::regex_search(line, m, form);) {
    const std::string value =
        values.IsNull(m.str(1)) ? "-" : values.Option(m.str(1), "unknown name");
    line = m.prefix().str() + value + m.suffix().str();
  }
  return ExpandRepeats(std::move(line));
}

// All variants of a file's sessions.
inline std::vector<Script> ReadScripts(const std::filesystem::path& path) {
  std::vector<std::pair<Script, std::vector<Words>>> sessions(1); // the first has the forms
  std::ifstream stream(path);
  std::string text;
  for (int number = 1; std::getline(stream, text); ++number) {
    text.erase(text.find_last_not_of(" \r") + 1);
    auto& [script, variants] = sessions.back();
    const auto [word, rest] = SplitOne(text);
    if (text.empty() || word == "#") continue;
    if (word == "short") {
      script.shorts[SplitOne(rest).first] = SplitOne(SplitOne(rest).second).second;
    } else if (word == "session") {
      sessions.push_back({{path.string(), rest, sessions.front().first.shorts, {}}, {}});
    } else if (word == "for") {
      variants.emplace_back(rest);
    } else if (text[0] == ' ' && script.lines.back().text.starts_with("document ")) {
      script.lines.back().text += "\n" + text.substr(text.find_first_not_of(' '));
    } else {
      const bool isIndented = text[0] == ' ';
      const std::size_t answer = isIndented ? text.npos : text.find(" => ");
      const std::string step = text.substr(0, answer);
      script.lines.push_back({number, step.substr(step.find_first_not_of(' ')), isIndented});
      if (answer != text.npos) script.lines.push_back({number, text.substr(answer + 1), true});
    }
  }
  std::vector<Script> scripts;
  for (auto session = sessions.begin() + 1; session != sessions.end(); ++session) {
    if (session->second.empty()) session->second.emplace_back("");
    for (const Words& variant : session->second) {
      Script& script = scripts.emplace_back(session->first);
      if (variant.Has("name")) script.name += std::string("/") + variant.Option("name", nullptr);
      for (ScriptLine& line : script.lines) line.text = Expand(line.text, variant);
    }
  }
  return scripts;
}

#endif
