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
using Call = bool (*)(Document document,
                      std::uint32_t n); // uses the n-th unit; false for a wrong answer

bool Reads(Document document, const std::string& item, std::uint32_t n,
           const std::string& attribute = "") {
  char value[16];
  return EnumXMLItem(document.list, document.cookie, "r", item.c_str(),
                     attribute.empty() ? "ELEMENT" : "ATTRIBUTE", static_cast<std::int32_t>(n),
                     attribute.c_str(), "", value, sizeof value) == XmlSuccess;
}

bool ReadsByNumber(Document document, std::uint32_t n) {
  const std::string number = std::to_string(n - 1);
  return Reads(document, "r", 1, "a" + number) && Reads(document, "e" + number, 1);
}
bool ReadsInTurn(Document document, std::uint32_t n) {
  return document.Group("a", n) != "Not Found" && Reads(document, "b", n) &&
         Reads(document, "a", n, {"hijklmno"[n % 8]});
}
bool ReadsFromEntity(Document document, std::uint32_t n) {
  return Reads(document, "t", 1) && Reads(document, "a", n);
}
bool Makes(Document document, std::uint32_t n) {
  const std::string path = n == 1 ? Repeat("a\\", 4'000) : "";
  return n > 20 || document.SetText((path + "b").c_str(), ("n" + std::to_string(n)).c_str(), "v") ==
                       XmlSuccess;
}

// What a caller does with a document of `count` units, whose last child is read and set. Returns
// the code of opening it.
int Work(const std::string& bytes, Call call, std::uint32_t count) try {
  const TestDocument document(bytes);
  bool isAsExpected = true;
  for (std::uint32_t i = 1; call != nullptr && isAsExpected && i <= count; ++i)
    isAsExpected = call(document, i) && call(document, count + 1 - i);
  isAsExpected = isAsExpected && document.Text("r", "z") == "end" &&
                 document.Attribute("r", "z", "k") == "v" &&
                 document.Attribute("r", "r", "none") == "Not Found" &&
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
  const std::string bomb = Levels("<!ENTITY e", "&e", 9, 10);
  const std::string quadratic = "<!DOCTYPE r [<!ENTITY e '" + std::string(200'000, 'x') + "'>]><r>";
  const std::string elements =
      "<!DOCTYPE r [<!ENTITY f '" + Repeat("<a/>", 60) + "'>]><r>"; // which Expat alone accepts
  const std::string defaults =
      "<!DOCTYPE r [<!ATTLIST r" + Repeat(" a@ CDATA ''", 30'000) + ">]><r>";
  const std::string entities =
      "<!DOCTYPE r [<!ENTITY e '" + std::string(280, 'x') + "'><!ENTITY f '<a/>'>]><r><t>";
  const std::string external =
      "<!DOCTYPE r [<!ENTITY % p SYSTEM 'file:///dev/zero'>%p;<!ENTITY e SYSTEM '/dev/zero'>]><r>";
  const struct { // both units are repeated equally often
    const char* name;
    std::string begin, unit, middle, secondUnit;
    Call call = nullptr;
    int code = 0;
  } documents[] = {
      {"text of line ends and references", "<r>", "\r\n&amp;&#65;", "", ""},
      {"text in many pieces", "<r>", "t<a/><!--c-->", "", ""},
      {"attributes and children of different names", "<r", " a@='1'", ">", "<e@/>", &ReadsByNumber},
      {"neighbours of two names", "<r>", "<a h='' i='' j='' k='' l='' m='' n='' o=''/><b/>", "", "",
       &ReadsInTurn},
      {"elements made behind blanks", "<r>\n", " ", "", "", &Makes},
      {"elements and long text from entities", entities, "&e;", "</t>", "&f;", &ReadsFromEntity},
      {"nested elements", "<r>", "<n>", "", "</n>"},
      {"declared entities, each used", "<!DOCTYPE r [", "<!ENTITY e@ 'x'>", "]><r>", "&e@;"},
      {"declared attributes", "<!DOCTYPE r [", "<!ATTLIST e@ a CDATA 'x'>", "]><r>", ""},
      {"external entities", external, "&e;", "", ""},
      {"bomb, never lit", bomb + "]><r>", "", "", ""},
      {"bomb", bomb + "]><r>&e9;", "", "", "", nullptr, XmlOutOfMemory},
      {"bomb in a default", bomb + "<!ATTLIST r a CDATA '&e9;'>]><r>", "", "", "", nullptr,
       XmlOutOfMemory},
      {"parameter bomb", Levels("<!ENTITY % e", "&#37;e", 9, 10) + "%e9;]><r>", "", "", "", nullptr,
       XmlOutOfMemory},
      {"quadratic", quadratic, "&e;", "", "", nullptr, XmlOutOfMemory},
      {"elements out of proportion", elements, "&f;", "", "", nullptr, XmlOutOfMemory},
      {"deep chain", Levels("<!ENTITY e", "&e", 100'000, 1) + "]><r>&e100000;", "", "", "", nullptr,
       XmlOutOfMemory},
      {"deep parameters", Levels("<!ENTITY % e", "&#37;e", 100'000, 1) + "%e100000;]><r>", "", "",
       "", nullptr, 1},
      {"defaults times elements", defaults, "<r/>", "", "", nullptr, XmlOutOfMemory},
  };
  const char* const asked = std::getenv("TARVIK_HOSTILE_BYTES");
  const std::size_t size = asked != nullptr ? std::strtoull(asked, nullptr, 10)
                           : IS_SANITIZED   ? 250'000
                                            : 1'000'000;
  constexpr std::size_t times = 8;
  for (const auto& [name, begin, unit, middle, secondUnit, call, code] : documents) {
    SCOPED_TRACE(name);
    double seconds[2],
        most = 0; // seconds: of processor time, which other programs do not affect; most: in bytes
    for (const bool large : {false, true}) {
      const std::size_t count =
          size / (large ? 1 : times) / std::max<std::size_t>(unit.size() + secondUnit.size(), 1);
      const std::string bytes =
          begin + Repeat(unit, count) + middle + Repeat(secondUnit, count) + "<z k='v'>end</z></r>";
      // In a separate process, for its own peak memory, and in case it crashes.
      const pid_t child = fork();
      if (child == 0) _exit(Work(bytes, call, static_cast<std::uint32_t>(count)));
      int status = 0;
      rusage use{};
      wait4(child, &status, 0, &use);
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == code) << status;
      timeval used{};
      timeradd(&use.ru_utime, &use.ru_stime, &used);
      seconds[large] = static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_usec) / 1e6;
      most = static_cast<double>(use.ru_maxrss) * 1024;
      std::printf("%-44s %10zu bytes %8.3f s %8.1f MB\n", name, bytes.size(), seconds[large],
                  most / 1e6);
    }
    EXPECT_LT(seconds[0], 5.0);
    EXPECT_LT(seconds[1], 3 * times * seconds[0] + 0.3);
    EXPECT_TRUE(IS_SANITIZED ||
                most < 48e6 + 40.0 * static_cast<double>(size)); // a sanitizer needs more
  }
}

} // namespace
