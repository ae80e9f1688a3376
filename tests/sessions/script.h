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

// Replaces "\x" and two hexadecimal digits by a byte. Other backslashes stand for themselves.
inline std::string Unescape(std::string text) {
  static const std::regex byte("\\\\x([0-9A-Fa-f]{2})");
  std::string bytes;
  for (std::smatch m; std::regex_search(text, m, byte); text = m.suffix().str())
    bytes += m.prefix().str() + static_cast<char>(std::stoi(m.str(1), nullptr, 16));
  return bytes + text;
}

// The words of a line, plain ones by their number and options by their name. "-" is null.
class Words {
 public:
  explicit Words(const std::string& line) {
    static const std::regex form("([a-z]+=)?(\"([^\"]*)\"|[^ ]+)");
    for (std::sregex_iterator it(line.begin(), line.end(), form), end; it != end; ++it) {
      std::string name = it->str(1);
      if (name.empty()) name = std::to_string(count++) + "=";
      if (it->str(2) != "-") words[name] = Unescape(it->str((*it)[3].matched ? 3 : 2));
      words.try_emplace(name);
      unused.insert(name);
    }
  }

  std::size_t Count() const { return count; }
  bool AreAllUsed() const { return unused.empty(); }
  bool Has(const std::string& name) const { return words.count(name + "=") > 0; }
  const char* Text(std::size_t n) const {
    if (n >= count) throw std::runtime_error("a word is missing");
    return Option(std::to_string(n), nullptr);
  }
  const char* Option(const std::string& name, const char* otherwise) const {
    const auto found = words.find(name + "=");
    if (found == words.end()) return otherwise;
    unused.erase(found->first);
    return found->second ? found->second->c_str() : nullptr;
  }
  template <class T>
  T Number(const std::string& name, T otherwise) const {
    const char* const text = Option(name, nullptr);
    return text == nullptr ? otherwise : static_cast<T>(std::stoll(text, nullptr, 0));
  }
  // The pointer, or null if the option says so.
  template <class T>
  T* Unless(const std::string& name, T* pointer) const {
    return Option(name, "") == nullptr ? nullptr : pointer;
  }

 private:
  std::map<std::string, std::optional<std::string>> words; // by name or number and "="
  std::size_t count = 0;                                   // of the plain ones
  mutable std::set<std::string> unused;
};

// The first word, and the rest of a line.
inline std::pair<std::string, std::string> SplitOne(const std::string& line) {
  const std::size_t end = std::min(line.find(' '), line.size());
  return {line.substr(0, end), line.substr(std::min(end + 1, line.size()))};
}

struct ScriptLine {
  int number; // in its file
  std::string text;
  bool isIndented;
};

struct Script {
  std::string file, name;
  std::map<std::string, std::string> shorts; // forms of log lines: "*" stands for what differs
  std::vector<Words> variants;
  std::vector<ScriptLine> lines;

  // A variant's lines: "{name}" replaced by its value there, "{text*3}" by "texttexttext".
  std::vector<ScriptLine> Variant(const Words& values) const {
    static const std::regex form("\\{([^{}]*?)(\\*(\\d+))?\\}");
    std::vector<ScriptLine> all = lines;
    for (ScriptLine& line : all) {
      for (std::smatch m; std::regex_search(line.text, m, form);) {
        std::string value;
        if (!m[2].matched) value = values.Option(m.str(1), "unknown name");
        for (int i = 0; m[2].matched && i < std::stoi(m.str(3)); ++i) value += m.str(1);
        line.text = m.prefix().str() + value + m.suffix().str();
      }
    }
    return all;
  }
};

inline std::vector<Script> ReadScripts(const std::filesystem::path& path) {
  std::vector<Script> scripts;
  std::map<std::string, std::string> shorts;
  std::ifstream stream(path);
  std::string text;
  for (int number = 1; std::getline(stream, text); ++number) {
    text.erase(text.find_last_not_of(" \r") + 1);
    const auto [word, rest] = SplitOne(text);
    if (text.empty() || word == "#") continue;
    if (word == "short") {
      shorts[SplitOne(rest).first] = SplitOne(SplitOne(rest).second).second;
    } else if (word == "session") {
      scripts.push_back({path.string(), rest, shorts, {}, {}});
    } else if (word == "for") {
      scripts.at(0), scripts.back().variants.emplace_back(rest);
    } else {
      const std::size_t begin = text.find_first_not_of(' ');
      const std::size_t answer = begin > 0 ? text.npos : text.find(" => ");
      std::vector<ScriptLine>& lines = scripts.back().lines;
      lines.push_back({number, text.substr(begin, answer - begin), begin > 0});
      if (answer != text.npos) lines.push_back({number, text.substr(answer + 1), true});
    }
  }
  for (Script& script : scripts) {
    if (script.variants.empty()) script.variants.emplace_back("");
  }
  return scripts;
}

#endif
