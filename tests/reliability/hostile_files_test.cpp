// Time and memory must stay in proportion to the file's size, whatever it contains. Prints the cost
// of each document. The environment variable TARVIK_HOSTILE_BYTES sets another size than a
// megabyte.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/open_document.h"
#include "support/text.h"

namespace {

using Document = const TestDocument&;
using Call = bool (*)(Document, std::uint32_t n); // uses the n-th unit; false for a wrong answer

// The beginning of the text, or of the attribute's value, of the root's n-th child; or "Not Found".
std::string Value(Document document, const std::string& child, const char* attribute = nullptr,
                  std::uint32_t n = 1) {
  char value[16] = "";
  const char* const type = attribute == nullptr ? "ELEMENT" : "ATTRIBUTE";
  EnumXMLItem(document.list, document.cookie, "r", child.c_str(), type, static_cast<int>(n),
              attribute, "ATTRIBUTE", value, sizeof value);
  return value;
}
bool Reads(Document document, const std::string& child, std::uint32_t n,
           const char* attribute = nullptr) {
  return Value(document, child, attribute, n) != "Not Found";
}

bool ReadsByNumber(Document document, std::uint32_t n) {
  const std::string number = std::to_string(n - 1);
  return Reads(document, "r", 1, ("a" + number).c_str()) && Reads(document, "e" + number, 1);
}
bool ReadsInTurn(Document document, std::uint32_t n) {
  const char attribute[] = {"hijklmno"[n % 8], '\0'};
  return document.Group("a", n) != "Not Found" && document.Group("a&h=x") == "Not Found" &&
         Reads(document, "b", n) && Reads(document, "a", n, attribute);
}
bool ReadsText(Document document, std::uint32_t) { return Reads(document, "t", 1); }
bool ReadsFromEntity(Document document, std::uint32_t n) {
  return ReadsText(document, n) && Reads(document, "a", n);
}
bool Creates(Document document, std::uint32_t n) {
  const std::string path = n == 1 ? Repeat("a\\", 4'000) + "b" : "b";
  return n > 20 || document.SetText(path.c_str(), ("n" + std::to_string(n)).c_str(), "v") == 0U;
}

bool ReadsByDefault(Document document, std::uint32_t n) {
  return n > 2 ||
         (document.Group("a&k=x") != "Not Found" && document.Group("a&k=y") == "Not Found");
}
// Sets a value again and again while the file cannot take it.
bool Waits(Document document, std::uint32_t n) {
  if (n > 1) return true;
  const std::string before = document.Bytes(), value(40'000, '9');
  document.Write("<s/>");
  for (int time = 0; time < (IS_SANITIZED ? 1'000 : 5'000); ++time)
    if (document.SetText("a", "b", value) != 34U) return false;
  document.Write(before);
  return true;
}

// What a caller does with a document of `count` units, whose last child is read and set. Returns
// the code of opening it, or 99 for a wrong answer.
int Work(const std::string& bytes, Call call, std::uint32_t count) try {
  const TestDocument document(bytes);
  bool isAsExpected = true;
  for (std::uint32_t i = 1; call != nullptr && isAsExpected && i <= count; ++i)
    isAsExpected = call(document, i) && call(document, count + 1 - i);
  isAsExpected = isAsExpected && Value(document, "z") == "end" &&
                 Value(document, "z", "k") == "v" && Value(document, "r", "none") == "Not Found" &&
                 document.SetText("r", "z", "set") == XmlSuccess &&
                 document.SetAttribute("r", "new", "v") == XmlSuccess &&
                 document.Bytes().size() < bytes.size() + 50'000;
  return isAsExpected ? 0 : 99;
} catch (const std::runtime_error& error) {
  return error.what() == std::string("OpenXML gave 1") ? int{XmlOutOfMemory} : 99;
}

// Entities, each of which refers `width` times to the one before.
std::string Levels(const std::string& declare, const std::string& refer, int count,
                   std::size_t width) {
  std::string text = "<!DOCTYPE r [" + declare + "0 'lol'>";
  for (int i = 1; i <= count; ++i) {
    text += declare + std::to_string(i) + " '" +
            Repeat(refer + std::to_string(i - 1) + ";", width) + "'>";
  }
  return text;
}

TEST(HostileFiles, CostInProportionToTheirSize) {
  const std::string begin = "<!DOCTYPE r [";
  const std::string e(280, 'x'), longE(200'000, 'x');
  const std::string bomb = Levels("<!ENTITY e", "&e", 9, 10);
  const std::string parameterBomb = Levels("<!ENTITY % e", "&#37;e", 9, 10);
  const std::string chain = Levels("<!ENTITY e", "&e", 100'000, 1);
  const std::string parameterChain = Levels("<!ENTITY % e", "&#37;e", 100'000, 1);
  const std::string attributes = begin + "<!ATTLIST r";
  const std::string entities = begin + "<!ENTITY e '" + e + "'><!ENTITY f '<a/><a/><a/>'>]><r><t>";
  const std::string values =
      begin + "<!ENTITY e '" + std::string(8'000, 'x') + "'><!ATTLIST a k CDATA '";
  const std::string external =
      begin + "<!ENTITY % p SYSTEM 'file:///dev/zero'>%p;<!ENTITY e SYSTEM '/dev/zero'>]><r>";
  const struct { // both units are repeated equally often
    const char* name;
    int code;
    std::string begin, unit = "", middle = "", secondUnit = "";
    Call call = nullptr;
  } documents[] = {
      {"text of line endings and references", 0, "<r>", "\r\n&amp;&#65;"},
      {"text in many pieces", 0, "<r><t>", "t<a/><!--c-->", "</t>", "", ReadsText},
      {"different names", 0, "<r", " a@='1'", ">", "<e@/>", ReadsByNumber},
      {"neighbours of two names", 0, "<r>", "<a h='' i='' j='' k='' l='' m='' n='' o=''/><b/>", "",
       "", ReadsInTurn},
      {"elements created after white space", 0, "<r>\n", " ", "", "", Creates},
      {"elements and long text from entities", 0, entities, "&e;", "</t>", "&f;", ReadsFromEntity},
      {"a long default", 0, values + Repeat("&e;", 900) + "'>]><r>", "<a/>", "", "",
       ReadsByDefault},
      {"changes that wait for the file", 0, "<r>", " ", "", "", Waits},
      {"nested elements", 0, "<r>", "<n>", "", "</n>"},
      {"declared entities, each used", 0, begin, "<!ENTITY e@ 'x'>", "]><r>", "&e@;"},
      {"declared attributes", 0, begin, "<!ATTLIST e@ a CDATA 'x'>", "]><r>"},
      {"external entities", 0, external, "&e;"},
      {"bomb, never lit", 0, bomb + "]><r>"},
      {"bomb", 1, bomb + "]><r>&e9;"},
      {"longer default", 1, Repeat("<!---->", 140'000) + values + Repeat("&e;", 2'700) + "'>]><r>"},
      {"parameter bomb", 1, parameterBomb + "%e9;]><r>"},
      {"quadratic", 1, begin + "<!ENTITY e '" + longE + "'>]><r>", "&e;"},
      {"deep chain", 1, chain + "]><r>&e100000;"},
      {"deep parameters", 1, parameterChain + "%e100000;]><r>"},
      {"few defaults", 0, attributes + Repeat(" a@ CDATA ''", 100) + ">]><r>", "<r/>"},
      {"defaults times elements", 1, attributes + Repeat(" a@ CDATA ''", 1'000) + ">]><r>", "<r/>"},
  };
  std::size_t size = IS_SANITIZED ? 250'000 : 1'000'000;
  if (const char* asked = std::getenv("TARVIK_HOSTILE_BYTES")) size = std::stoul(asked);
  constexpr std::size_t times = 8;
  for (const auto& [name, code, start, unit, middle, secondUnit, call] : documents) {
    SCOPED_TRACE(name);
    double seconds[2] = {}; // of processor time, which other programs do not affect
    double most = 0;        // bytes
    for (const bool large : {false, true}) {
      const std::size_t count =
          size / (large ? 1 : times) / std::max<std::size_t>(unit.size() + secondUnit.size(), 1);
      const std::string bytes =
          start + Repeat(unit, count) + middle + Repeat(secondUnit, count) + "<z k='v'>end</z></r>";
      // In a separate process, for its own peak memory, and in case it crashes.
      const pid_t child = fork();
      if (child == 0) _exit(Work(bytes, call, static_cast<std::uint32_t>(count)));
      int status = 0;
      rusage use{};
      wait4(child, &status, 0, &use);
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == code) << status;
      for (const timeval& part : {use.ru_utime, use.ru_stime})
        seconds[large] +=
            static_cast<double>(part.tv_sec) + static_cast<double>(part.tv_usec) / 1e6;
      most = static_cast<double>(use.ru_maxrss) * 1024;
      std::printf("%-44s %10zu bytes %8.3f s %8.1f MB\n", name, bytes.size(), seconds[large],
                  most / 1e6);
    }
    EXPECT_LT(seconds[0], 5.0);
    EXPECT_LT(seconds[1], 3 * times * seconds[0] + 0.3);
    // A sanitizer needs more.
    EXPECT_TRUE(IS_SANITIZED || most < 48e6 + 50.0 * static_cast<double>(size));
  }
}

} // namespace
