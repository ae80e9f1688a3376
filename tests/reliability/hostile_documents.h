// Documents that an attacker, or an honest giant, might hand to the library, each of about the size asked for.
#ifndef TARVIK_TESTS_RELIABILITY_HOSTILE_DOCUMENTS_H
#define TARVIK_TESTS_RELIABILITY_HOSTILE_DOCUMENTS_H

#include <string>

namespace hostile {

// Appends what make gives for 0, 1, 2, ... until the text has the size.
template <class Make>
std::string Until(std::size_t size, Make make) {
  std::string text;
  text.reserve(size + 64);
  for (std::size_t i = 0; text.size() < size; ++i) text += make(std::to_string(i));
  return text;
}

inline std::string Repeat(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

struct Shape {
  const char* name;
  std::string (*make)(std::size_t size);
};

// All of these are well-formed. Each ends in the child <z k='v'>end</z> of its root, which a reader is made to look for.
inline const Shape shapes[] = {
    {"text", [](std::size_t size) { return "<r>" + std::string(size, 't') + "<z k='v'>end</z></r>"; }},
    {"text of line ends and references",
     [](std::size_t size) { return "<r>" + Repeat("\r\n&amp;&#65;", size / 12) + "<z k='v'>end</z></r>"; }},
    {"comment", [](std::size_t size) { return "<r><!--" + std::string(size, 'c') + "--><z k='v'>end</z></r>"; }},
    {"CDATA of brackets",
     [](std::size_t size) { return "<r><![CDATA[" + std::string(size, ']') + " ]]><z k='v'>end</z></r>"; }},
    {"attribute value", [](std::size_t size) { return "<r a='" + std::string(size, 'a') + "'><z k='v'>end</z></r>"; }},
    {"names",
     [](std::size_t size) {
       const std::string name(size / 3, 'n');
       return "<r " + name + "=''><" + name + "/><z k='v'>end</z></r>";
     }},
    {"attributes on one element",
     [](std::size_t size) {
       return "<r" + Until(size, [](auto n) { return " a" + n + "='" + n + "'"; }) + "><z k='v'>end</z></r>";
     }},
    {"siblings of all-different names",
     [](std::size_t size) {
       return "<r>" + Until(size, [](auto n) { return "<e" + n + "/>"; }) + "<z k='v'>end</z></r>";
     }},
    {"siblings of two names in turn",
     [](std::size_t size) { return "<r>" + Repeat("<a/><b/>", size / 8) + "<z k='v'>end</z></r>"; }},
    {"text in many pieces",
     [](std::size_t size) { return "<r>" + Repeat("t<a/><!--c-->", size / 13) + "<z k='v'>end</z></r>"; }},
    {"nested elements",
     [](std::size_t size) {
       const std::size_t depth = size / 7;
       return "<r>" + Repeat("<n>", depth) + Repeat("</n>", depth) + "<z k='v'>end</z></r>";
     }},
    {"declared entities, each used",
     [](std::size_t size) {
       return "<!DOCTYPE r [" + Until(size / 2, [](auto n) { return "<!ENTITY e" + n + " 'x'>"; }) + "]><r>" +
              Until(size / 2, [](auto n) { return "&e" + n.substr(0, 3) + ";"; }) + "<z k='v'>end</z></r>";
     }},
    {"declared attributes",
     [](std::size_t size) {
       return "<!DOCTYPE r [" + Until(size, [](auto n) { return "<!ATTLIST r a" + n + " CDATA 'x'>"; }) +
              "]><r><z k='v'>end</z></r>";
     }},
};

} // namespace hostile

#endif
