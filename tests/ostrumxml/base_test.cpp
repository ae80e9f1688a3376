// Scanning, decoding and escaping.
#include <gtest/gtest.h>

#include "host/ostrumxml/data/markup.h"
#include "host/ostrumxml/data/references.h"

namespace {

using namespace std::literals;

TEST(References, StandForCharacters) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [reference, character] :
       {Row("&amp;", "&"), Row("&lt;", "<"), Row("&gt;", ">"), Row("&quot;", "\""),
        Row("&apos;", "'"), Row("&#65;", "A"), Row("&#x4a;", "J"), Row("&#xe9;", "\u00e9"),
        Row("&#8364;", "\u20ac"), Row("&#x10FFFF;", "\U0010FFFF"), Row("&am;", "")}) {
    std::string text = "t";
    Ostrum::AppendReference(reference, text);
    EXPECT_EQ(text, "t"s + character);
  }
}

TEST(References, KeepWhatAParserWouldChange) {
  EXPECT_EQ(Ostrum::EscapeText("a&<>\r\n\t\"'\u20ac"), "a&amp;&lt;&gt;&#13;\n\t\"'\u20ac");
  EXPECT_EQ(Ostrum::EscapeAttribute("&<>\"'\t\n\r", '"'), "&amp;&lt;>&quot;'&#9;&#10;&#13;");
  EXPECT_EQ(Ostrum::EscapeAttribute("\"'", '\''), "\"&apos;");
  EXPECT_EQ(Ostrum::FoldSpaces("  a b   c\t "), "a b c\t");
  EXPECT_EQ(Ostrum::FoldSpaces("   "), "");
  const std::string normalized = "a\nb\n\nc\n";
  for (std::size_t limit = 0; limit < 10; ++limit) {
    std::string text;
    Ostrum::AppendCharacters("a\r\nb\r\n\rc\r", text, limit);
    EXPECT_EQ(text, normalized.substr(0, limit)) << limit;
  }
}

TEST(Markup, AttributesOfATag) {
  using Row = std::pair<std::string_view, const char*>;
  for (const auto& [tag, expected] :
       {Row(">", ""), Row(" />", ""), Row(" a='1' b=\"'>/\"/>", "a:1 b:'>/ "),
        Row("\n\ta\r=\n' b=\"2\" '>x", "a: b=\"2\"  "), Row(" \u00e9=''b='3'>", "\u00e9: b:3 ")}) {
    Ostrum::TagScanner scanner(tag);
    const Ostrum::TagIndex index(tag);
    std::string found;
    for (Ostrum::RawAttribute attribute; scanner.Next(attribute);) {
      found.append(attribute.name).append(":").append(attribute.value).append(" ");
      EXPECT_EQ(index.Find(attribute.name).value.data(), attribute.value.data());
    }
    EXPECT_EQ(found, expected);
    for (const char* missing : {"", "aa", "z"}) EXPECT_EQ(index.Find(missing).name.data(), nullptr);
  }
}

TEST(Markup, PiecesOfContent) {
  using enum Ostrum::PieceKind;
  const std::string first(4095,
                          'x'); // longer text is split into pieces, but never between "\r" and "\n"
  using Row = std::pair<Ostrum::PieceKind, std::string>;
  const std::vector<Row> pieces{Row(Text, first),
                                Row(Text, "\r\n>]]"),
                                Row(Reference, "&#65;"),
                                Row(CData, "<![CDATA[<a>]] >]]>"),
                                Row(Reference, "&e;"),
                                Row(Text, "t"),
                                Row(Other, "<!--<a>-> -->"),
                                Row(Other, "<?p a?>"),
                                Row(StartTag, "<a>"),
                                Row(Text, "\r"),
                                Row(EmptyTag, "<b c='/>'/>"),
                                Row(EndTag, "</a >"),
                                Row(StartTag, "<c d=\"/\"\n>")};
  std::string all;
  for (const auto& [kind, text] : pieces) all += text;
  Ostrum::PieceScanner scanner(all);
  Ostrum::Piece piece{};
  for (const auto& [kind, text] : pieces) {
    ASSERT_TRUE(scanner.Next(piece));
    EXPECT_EQ(piece.text, text);
    EXPECT_EQ(piece.kind, kind) << text;
  }
  EXPECT_FALSE(scanner.Next(piece));
  EXPECT_EQ(Ostrum::TagName("<a\n b='c'>"), "a");
  EXPECT_EQ(Ostrum::InsideCData("<![CDATA[]]]]>"), "]]");
}

// Eight bytes are checked at a time, so every position is tried.
TEST(Markup, TextThatNeedsNoDecoding) {
  for (const std::size_t size : {1U, 7U, 8U, 9U, 20U}) {
    for (std::size_t place = 0; place < size; ++place) {
      for (const char character : "&<\x1F\n %=\x7F\x80\xFF"s) {
        std::string text(size, 'a');
        text[place] = character;
        EXPECT_EQ(Ostrum::NeedsNoDecoding(text),
                  character < '\0' || " %=\x7F"sv.find(character) != text.npos)
            << size << ' ' << place;
      }
    }
  }
}

} // namespace
