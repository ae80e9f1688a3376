#include <gtest/gtest.h>

#include <cstdlib>

#include "ostrumxml/both_readers.h"

namespace {

using namespace std::string_view_literals;

// The pattern with so many letters in the place of each "@".
std::string Fill(std::string_view pattern, std::size_t count) {
  std::string text;
  for (const char character : pattern)
    text.append(character == '@' ? count : 1, character == '@' ? 'x' : character);
  return text;
}

// Longer than the four vectors that are looked at together, so that what stands after it stands at
// every place of them.
constexpr std::size_t maxFill = 67;

TEST(Readers, KnowPlainDocuments) {
  for (const std::string_view pattern :
       Split("<r/>|<r>@</r>|<r >@\t\r\n\x7F\xC2\x85\xEF\xBC\x8C\xEF\xBF\xBD@</r\n>|"
             "\xEF\xBB\xBF<?xml version=\"1.0\" encoding='utf-8'\tstandalone = 'no' ?>\n<r/>\n|"
             "<!-- @ - > --><?xml-s@ ? >@?><!DOCTYPE r><?p?><a:_-.9Zz/><!-- --><?q \xEF\xBC\x8C?>|"
             "<!DOCTYPE r@ SYSTEM\n'a\"@'><r/>|<!DOCTYPE r PUBLIC \"-//W3C//DTD '@'\" 'a' ><r/>|"
             "<r a='@&lt;&quot;\"]]>' b\n=\n\"@'&#x10FFFF;&#09;&#xd7ff;\" ab=''><a/></r>|"
             "<r>@&amp;@&#000000000000065;@]]@]] ><![CDATA[@]]]<&]]]]><!--@->--></r>|"
             "<a><b><ab></ab></b>@<b@/></a>|"
             // Text and a name after the same tag: as last time, longer, shorter, other, at the end
             "<r><a/>@<b/><a/>@<b/><a/>@y<b/><a/>@<b/><a/>@<bc/><a/>@ <b /><a/>@<c/><a/>@</r>|"
             "<r><a/><b@/><a/><b@/><a/><b@c/><a/><b@/><a/><b@c></b@c></r>|"
             "<b@><a/><b@><a/><b@></b@></b@></b@>")) {
    for (std::size_t count = 0; count < maxFill; ++count) {
      const std::string text = Fill(pattern, count);
      EXPECT_EQ(CompareReaders(text), Comparison::ReadPlainly) << text;
    }
  }
}

// The rules of XML, each with documents that break it, separated by "|".
constexpr std::string_view violations[] = {
    // Characters
    "<r>@\x01@</r>|<r>@\x0B@</r>|<r>@\x1F@</r>|<r>@\xEF\xBF\xBE@</r>|<r>@\xEF\xBF\xBF@</r>",
    "<r>@\0@</r>|<r/>\0|<r/>\0<r/>"sv,
    "<r a='@\x01'/>|<r a='@\xEF\xBF\xBF'/>|<!--@\x0C@--><r/>|<!--@\xEF\xBF\xBE--><r/>",
    "<?p @\x02@?><r/>|<r><![CDATA[@\x03@]]></r>|<r><![CDATA[@\xEF\xBF\xBF]]></r>",
    // Markup in character data and values
    "<r>@]]>@</r>|<r>@]]]></r>|<r a='@<'/>",
    "<r>@&</r>|<r>@&@;</r>|<r>@&lt @</r>|<r>&;</r>|<r>@&LT;</r>|<r>& lt;</r>|<r a='@&@'/>|"
    "<r a='&lt'/>",
    "<r>&#;</r>|<r>&#x;</r>|<r>&#65</r>|<r>&#X41;</r>|<r>&#6A;</r>|<r>&#xG;</r>|<r>&#-65;</r>|"
    "<r>&#+65;</r>|<r>&# 65;</r>",
    "<r>&#0;</r>|<r>&#8;</r>|<r>&#31;</r>|<r>&#xD800;</r>|<r>&#xDFFF;</r>|<r>&#xFFFE;</r>|"
    "<r>&#xFFFF;</r>|<r>&#x110000;</r>|<r>&#4294967361;</r>|<r>&#x100000041;</r>|<r a='&#1;'/>",
    // Comments, instructions, CDATA
    "<!--@--@--><r/>|<!--@--<r/>|<!--@---><r/>|<!--><r/>|<!---><r/>|<!--@|<!--@-|<!--@--|"
    "<!-@--><r/>|<r><!--@</r>|<r><!-@--></r>",
    "<?@?<r/>|<?p @<r/>|<?p @?|<?|<? p?><r/>|<?9@?><r/>|<?p!?><r/>|<?p@ ?",
    "<r><?xml?></r>|<?Xml ?><r/>|<r><?XML version='1.0'?></r>|<?xml?><r/>",
    "<r><![CDATA[@]]</r>|<r><![CDATA[@</r>|<r><![CDATA@]]></r>|<r><![cdata[@]]></r>|<r><!@></r>|"
    "<r><!DOCTYPE r></r>|<![CDATA[@]]><r/>|<r/><![CDATA[@]]>",
    // Tags
    "<@|<r@|<r|<r |<r/|<r@/ >|< r/>|<9/>|<-@/>|<./>|<r!/>|<>",
    "</>|</r>|<r></s>|<r></>|<r></s><!-- longer than a vector -->|<r></r@x>|<rr></r>|<r></rr>|"
    "<R></r>|<a><b></a></b>|<r></ r>|<r></r a=''>|<r></r/>|<r>@|<r>@</|<r></r@|<r></r |<r><r/>",
    "<r @x=@/>|<r a/>|<r a ='1' b/>|<r ='1'/>|<r a=1/>|<r a='1/>|<r a='@\"/>|<r a='1'b='2'/>|"
    "<r a=''/ >|<r a=''//>|<r 9a='1'/>|<r a'1'/>|<r a=`1`/>|<r/a='1'>",
    "<r a='' a=''/>|<r a='' b='' a=\"\"/>|<r @x='' y='' @x=''/>|"
    "<r a='1' b='2' c='3' d='4' e='5' f='6' g='7' h='8' i='9' k='' l='' m='' n='' o='' p='' q=''"
    " r='' s='' t='' a=''/>",
    // The document
    "| |@|x@<r/>|<r/>x@|<r/><r/>|<r/>&#32;|<r/>&amp;|<!-- -->|<?p?>|<r/><|<r/><!--@|<r/><?p @|"
    "<r/></r>|<r/><!DOCTYPE r>|<r/>]]>",
    "\xEF\xBB\xBF|\xEF\xBB\xBF\xEF\xBB\xBF<r/>| \xEF\xBB\xBF<r/>|<r/>\xEF\xBB\xBF",
    // The XML declaration
    " <?xml version='1.0'?><r/>|<!----><?xml version='1.0'?><r/>|"
    "<?xml version='1.0'?><?xml version='1.0'?><r/>",
    "<?xml ?><r/>|<?xml version='1.0'><r/>|<?xml version='1.0' <r/>|<?xml version='1.0' ? ><r/>|"
    "<?xml version=1.0?><r/>|<?xml version '1.0'?><r/>|<?xml version='1.0\"?><r/>|"
    "<?xml version='1.0?><r/>|<?xml version='1.0' a='1'?><r/>",
    "<?xml encoding='UTF-8'?><r/>|<?xml encoding='UTF-8' version='1.0'?><r/>|"
    "<?xml version='1.0'encoding='UTF-8'?><r/>|<?xml version='1.0' encoding=''?><r/>|"
    "<?xml version='1.0' encoding='UTF-8' encoding='UTF-8'?><r/>",
    "<?xml version='1.0' encoding='UTF-8'standalone='yes'?><r/>|"
    "<?xml version='1.0' standalone='yes' encoding='UTF-8'?><r/>|"
    "<?xml version='1.0' standalone='yesno'?><r/>|<?xml version='1.0' standalone='YES'?><r/>|"
    "<?xml version='1.0' standalone='yes' standalone='yes'?><r/>",
    // The document type
    "<!DOCTYPE r|<!DOCTYPE r <r/>|<!DOCTYPE><r/>|<!DOCTYPE ><r/>|<!DOCTYPEr><r/>|<!doctype r><r/>|"
    "<!DOCTYPE 9><r/>|<!DOCTYPE r r><r/>|<!DOCTYPE r><!DOCTYPE r><r/>|<!DOCTYPE r>|"
    "<!DOCTYPE r>x@<r/>",
    "<!DOCTYPE r SYSTEM><r/>|<!DOCTYPE r SYSTEM'a'><r/>|<!DOCTYPE rSYSTEM 'a'><r/>|"
    "<!DOCTYPE r SYSTEM a><r/>|<!DOCTYPE r SYSTEM 'a' 'b'><r/>|<!DOCTYPE r 'a'><r/>|"
    "<!DOCTYPE r SYSTEM 'a><r/>|<!DOCTYPE r SYSTEM '\x01'><r/>",
    "<!DOCTYPE r PUBLIC 'a'><r/>|<!DOCTYPE r PUBLIC 'a''b'><r/>|<!DOCTYPE r PUBLIC'a' 'b'><r/>|"
    "<!DOCTYPE r PUBLIC 'a\t' 'b'><r/>|<!DOCTYPE r PUBLIC 'a>' 'b'><r/>|"
    "<!DOCTYPE r PUBLIC \"a\\\" 'b'><r/>|<!DOCTYPE r PUBLIC 'a\xC3\xA9' 'b'><r/>|"
    "<!DOCTYPE r PUBLIC 'a' ><r/>"};

TEST(Readers, AcceptNothingThatTheParserRefuses) {
  for (const std::string_view rule : violations) {
    for (const std::string_view pattern : Split(rule)) {
      for (std::size_t count = 0; count < maxFill; ++count) {
        const std::string text = Fill(pattern, count);
        Ostrum::DocumentData plain(text), parsed(text);
        EXPECT_NE(Ostrum::ReadByParser(parsed).error, Ostrum::NO_PARSER_ERROR) << text;
        EXPECT_FALSE(Ostrum::ReadPlainly(plain)) << text;
        if (pattern.find('@') == pattern.npos) break;
      }
    }
  }
}

std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

// Compares other documents or more of them if told by the environment.
TEST(Readers, AgreeOnGeneratedDocuments) {
  const std::uint64_t first = Setting("TARVIK_FIRST_DOCUMENT", 1);
  const std::uint64_t count = Setting("TARVIK_DOCUMENTS", 100'000);
  std::uint64_t readPlainly = 0;
  for (std::uint64_t number = first; number < first + count; ++number) {
    const std::string text = DocumentWriter(number).Write();
    const Comparison comparison = CompareReaders(text);
    ASSERT_NE(comparison, Comparison::Different) << "document " << number << ":\n" << text;
    if (comparison == Comparison::ReadPlainly) ++readPlainly;
  }
  EXPECT_GT(readPlainly, count / 5);
}

} // namespace
