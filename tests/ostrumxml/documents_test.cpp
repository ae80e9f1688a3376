// Plays the scripts in the folder beside this file, whose first lines describe them.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <regex>
#include <stdexcept>

#include "host/ostrumxml/data/utf8.h"
#include "ostrumxml/both_readers.h"
#include "ostrumxml/parsed_document.h"
#include "support/locale_guard.h"
#include "support/text.h"

namespace {

using Ostrum::Element;

// The text, or why it cannot be decoded.
std::string Decode(const std::string& bytes) {
  const Parsed parsed(bytes);
  return parsed.refusal.empty() ? parsed.source : parsed.refusal;
}

// The cases that a pattern stands for.
std::vector<std::string> Filled(const std::string& pattern) {
  const std::size_t count = pattern.find('@') == pattern.npos ? 1 : 67;
  std::vector<std::string> cases;
  for (std::size_t letters = 0; letters < count; ++letters)
    cases.push_back(std::regex_replace(pattern, std::regex("@"), std::string(letters, 'x')));
  return cases;
}

class Player {
 public:
  explicit Player(const std::string& fileName) {
    const std::string path = SCRIPTS "/" + fileName;
    std::ifstream script(path);
    std::string line;
    int number = 1;
    for (; std::getline(script, line); ++number) {
      const auto [word, text] = SplitAt(line, " ");
      if (word.empty() || word == "#") continue;
      const testing::ScopedTrace trace(path.c_str(), number, line);
      try {
        verbs.at(word)(Expand(text));
      } catch (const std::exception& failure) {
        ADD_FAILURE() << failure.what();
        return;
      }
    }
    EXPECT_GT(number, 1) << path;
  }

 private:
  std::string Expand(std::string text) const {
    for (const auto& [name, value] : names) text = std::regex_replace(text, name, value);
    return ExpandRepeats(std::move(text));
  }

  void Parse(const std::string& text) {
    document.emplace(Unescape(text, true));
    ASSERT_TRUE(document->document) << document->error;
    EXPECT_EQ(Describe(document->At("")), DescribeByExpat(document->source));
    Gives(text);
  }
  void Gives(const std::string& text) const {
    EXPECT_EQ(document->Generate(), Unescape(text, true));
    EXPECT_EQ(Describe(document->At("")), Describe(Parsed(document->Generate()).At("")));
  }

  void Edit(std::string edit) const {
    const bool removes = edit.starts_with('-');
    if (removes) edit.erase(0, 1);
    const auto [target, value] = SplitAt(edit, "=");
    const std::filesystem::path path(target);
    const std::string name = path.filename().string();
    Element parent = document->At(path.parent_path()), element = document->At(path);
    if (name.starts_with('@') && removes) {
      for (int times = 0; times < 2; ++times)
        parent.RemoveAttribute(name.substr(1)); // the second changes nothing
    } else if (name.starts_with('@')) {
      parent.SetAttribute(name.substr(1), Unescape(value, true));
    } else if (removes) {
      for (int times = 0; times < 2; ++times)
        parent.RemoveChild(element); // the second changes nothing
    } else {
      if (element.IsNull()) element = parent.AddElementInto(name);
      element.SetText(Unescape(value, true));
    }
  }
  void Refuses(const std::string& edit) const {
    const std::string before = document->Generate();
    EXPECT_THROW(Edit(edit), std::invalid_argument) << edit;
    EXPECT_EQ(document->Generate(), before);
  }

  // "before[a|b]after is expected" stands for two cases.
  static void Decodes(const std::string& text) {
    const auto [bytes, expected] = SplitAt(text, " is ");
    const auto [before, bracket] = SplitAt(bytes, "[");
    const auto [names, after] = SplitAt(bracket, "]");
    if (text.find("gb18030") != text.npos && !hasUtf8) return; // Wine lacks it
    for (const std::string_view name : Split(names))
      EXPECT_EQ(Decode(Unescape(before + std::string(name) + after, true)),
                Unescape(expected, true))
          << name;
  }

  static void IsPlain(const std::string& pattern) {
    for (const std::string& text : Filled(Unescape(pattern, true)))
      EXPECT_EQ(CompareReaders(text), Comparison::ReadPlainly) << text;
  }
  static void IsMalformed(const std::string& patterns) {
    for (const std::string_view pattern : Split(patterns)) {
      for (const std::string& text : Filled(Unescape(std::string(pattern), true))) {
        Ostrum::DocumentData plain(text), parsed(text);
        EXPECT_NE(Ostrum::ReadByParser(parsed).error, Ostrum::NO_PARSER_ERROR) << text;
        EXPECT_FALSE(Ostrum::ReadPlainly(plain)) << text;
      }
    }
  }

  std::vector<std::pair<std::regex, std::string>> names;
  std::optional<Parsed> document;
  using Verb = std::function<void(const std::string& text)>;
  const std::map<std::string, Verb> verbs = {
      {"let",
       [this](const std::string& text) {
         const auto [name, value] = SplitAt(text, " ");
         names.emplace_back("\\$" + name + "\\b", value);
       }},
      {"document", [this](const std::string& text) { Parse(text); }},
      {"error",
       [](const std::string& text) {
         const auto [reason, source] = SplitAt(text, ": ");
         EXPECT_STREQ(Ostrum::ReasonOf(Parsed(Unescape(source, true)).error), reason.c_str());
       }},
      {"edit",
       [this](const std::string& text) {
         for (const auto edit : Split(text)) Edit(std::string(edit));
       }},
      {"refuses",
       [this](const std::string& text) {
         for (const auto edit : Split(text)) Refuses(std::string(edit));
       }},
      {"gives", [this](const std::string& text) { Gives(text); }},
      {"bytes", &Decodes},
      {"plain", &IsPlain},
      {"malformed", &IsMalformed},
  };
};

TEST(Documents, AreWhatTheScriptsSay) {
  Player("reading.txt");
  Player("editing.txt");
  Player("readers.txt");
}

TEST(Documents, AreDecodedAsTheScriptsSay) {
  const LocaleGuard other(multibyteLocale);
  Player("decoding.txt");
}

TEST(Documents, AreCheckedWithoutTheBytesBefore) {
  for (const std::size_t ascii : {0U, 1U, 2U}) {
    const std::string text =
        "\xF0" + std::string(ascii, 'a') + &"\x90\x80\x80"[ascii] + "0123456789abcdef";
    EXPECT_EQ(Ostrum::ValidUtf8Prefix(std::string_view(text).substr(1)), ascii);
  }
}

} // namespace
