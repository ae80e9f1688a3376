// Time and memory stay in proportion to the file, whatever it holds. Prints what each document took; the environment variable
// TARVIK_HOSTILE_BYTES asks for larger ones than the megabyte that serves as a test.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/open_document.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// The text as often as told, "@" in it standing for 0, 1, 2, ...
std::string Repeat(const std::string& text, std::size_t count) {
  const std::size_t place = text.find('@');
  std::string all;
  for (std::size_t i = 0; i < count; ++i) {
    all += text;
    if (place != text.npos) all.replace(all.size() - text.size() + place, 1, std::to_string(i));
  }
  return all;
}

using Call = bool (*)(const TestDocument& document, std::uint32_t n); // about the n-th unit; false for a wrong answer

bool Reads(const TestDocument& document, const std::string& item, std::uint32_t n, const std::string& attribute = "") {
  char value[16];
  return EnumXMLItem(document.list, document.cookie, "r", item.c_str(), attribute.empty() ? "ELEMENT" : "ATTRIBUTE",
                     static_cast<std::int32_t>(n), attribute.c_str(), "", value, sizeof value) == XmlSuccess;
}

bool Make(const TestDocument& document, std::uint32_t n) {
  const std::string path = n == 1 ? Repeat("a\\", 4'000) : "";
  return n > 20 || document.SetText((path + "b").c_str(), ("n" + std::to_string(n)).c_str(), "v") == XmlSuccess;
}

// A caller's work on a document of so many units; what is to be read is always the last child. Gives the code of opening it.
int Work(const std::string& bytes, Call call, std::uint32_t count) try {
  const TestDocument document(bytes);
  bool isAsExpected = true;
  for (std::uint32_t i = 1; call != nullptr && isAsExpected && i <= count; ++i)
    isAsExpected = call(document, i) && call(document, count + 1 - i);
  isAsExpected =
      isAsExpected && document.Text("r", "z") == "end" && document.Attribute("r", "z", "k") == "v" &&
      document.Attribute("r", "r", "none") == "Not Found" && document.SetText("r", "z", "set") == XmlSuccess &&
      document.SetAttribute("r", "new", "v") == XmlSuccess && document.Bytes().size() < bytes.size() + 50'000;
  return isAsExpected ? 0 : 99;
} catch (const std::runtime_error& error) {
  return error.what() == std::string("OpenXML gave 1") ? int{XmlOutOfMemory} : 99;
}

struct Cost {
  int result;     // what the work gave; -1 when the process died
  double seconds; // of processor time, which other programs on the machine do not lengthen
  double bytes;   // at most resident; 0 where a sanitizer's own use hides it
};

// In a process of its own, so that its peak and its death are its own.
Cost CostOf(const char* label, const std::string& bytes, Call call, std::size_t count) {
  const pid_t child = fork();
  if (child == 0) _exit(Work(bytes, call, static_cast<std::uint32_t>(count)));
  int status = 0;
  rusage use{};
  wait4(child, &status, 0, &use);
  const auto microseconds =
      (use.ru_utime.tv_sec + use.ru_stime.tv_sec) * 1'000'000 + use.ru_utime.tv_usec + use.ru_stime.tv_usec;
  Cost cost{WIFEXITED(status) ? WEXITSTATUS(status) : -1, static_cast<double>(microseconds) / 1e6,
            static_cast<double>(use.ru_maxrss) * 1024};
  std::printf("%-34s %10zu bytes %8.3f s %8.1f MB\n", label, bytes.size(), cost.seconds, cost.bytes / 1e6);
  if (isSanitized) cost.bytes = 0;
  return cost;
}

// Entities, each of which refers so many times to the one before.
std::string Levels(const std::string& declare, const std::string& refer, int count, std::size_t width) {
  std::string text = "<!DOCTYPE r [" + declare + "0 'lol'>";
  for (int i = 1; i <= count; ++i) {
    text += declare + std::to_string(i) + " '" + Repeat(refer + std::to_string(i - 1) + ";", width) + "'>";
  }
  return text;
}

TEST(HostileFiles, CostInProportionToTheirSize) {
  const std::string bomb = Levels("<!ENTITY e", "&e", 9, 10);
  const std::string quadratic = "<!DOCTYPE r [<!ENTITY e '" + std::string(200'000, 'x') + "'>]><r>";
  const std::string defaults = "<!DOCTYPE r [<!ATTLIST r" + Repeat(" a@ CDATA ''", 30'000) + ">]><r>";
  const struct { // the units are repeated, each as often as the other
    const char* name;
    std::string begin, unit, middle, secondUnit;
    int code = 0;
    Call call = nullptr;
  } documents[] = {
      {"text of line ends and references", "<r>", "\r\n&amp;&#65;", "", ""},
      {"text in many pieces", "<r>", "t<a/><!--c-->", "", ""},
      {"attributes of one element, and children, all named differently", "<r", " a@='1'", ">", "<e@/>", 0,
       [](const TestDocument& document, std::uint32_t n) {
         return Reads(document, "r", 1, "a" + std::to_string(n - 1)) && Reads(document, "e" + std::to_string(n - 1), 1);
       }},
      {"neighbours of two names", "<r>", "<a k='v'/><b/>", "", "", 0,
       [](const TestDocument& document, std::uint32_t n) {
         return document.Group("a", n) != "Not Found" && Reads(document, "b", n) && Reads(document, "a", n, "k");
       }},
      {"elements made behind blanks", "<r>\n", " ", "", "", 0, &Make},
      {"elements and long text from entities",
       "<!DOCTYPE r [<!ENTITY e '" + std::string(280, 'x') + "'><!ENTITY f '<a/>'>]><r><t>", "&e;", "</t>", "&f;", 0,
       [](const TestDocument& document, std::uint32_t n) {
         return Reads(document, "t", 1) && Reads(document, "a", n);
       }},
      {"nested elements", "<r>", "<n>", "", "</n>"},
      {"declared entities, each used", "<!DOCTYPE r [", "<!ENTITY e@ 'x'>", "]><r>", "&e@;"},
      {"declared attributes", "<!DOCTYPE r [", "<!ATTLIST e@ a CDATA 'x'>", "]><r>", ""},
      {"external entities",
       "<!DOCTYPE r [<!ENTITY % p SYSTEM 'file:///dev/zero'>%p;<!ENTITY e SYSTEM 'file:///dev/zero'>]><r>", "&e;", "",
       ""},
      {"bomb", bomb + "]><r>&e9;", "", "", "", XmlOutOfMemory},
      {"bomb in a default", bomb + "<!ATTLIST r a CDATA '&e9;'>]><r>", "", "", "", XmlOutOfMemory},
      {"bomb, never lit", bomb + "]><r>", "", "", ""},
      {"parameter bomb", Levels("<!ENTITY % e", "&#37;e", 9, 10) + "%e9;]><r>", "", "", "", XmlOutOfMemory},
      {"quadratic", quadratic, "&e;", "", "", XmlOutOfMemory},
      {"quadratic, in attributes", quadratic, "<a b='&e;'/>", "", "", XmlOutOfMemory},
      {"deep chain", Levels("<!ENTITY e", "&e", 100'000, 1) + "]><r>&e100000;", "", "", "", XmlOutOfMemory},
      {"defaults times elements", defaults, "<r/>", "", "", XmlOutOfMemory},
  };
  const char* const asked = std::getenv("TARVIK_HOSTILE_BYTES");
  const std::size_t size = asked != nullptr ? std::strtoull(asked, nullptr, 10) : isSanitized ? 250'000 : 1'000'000;
  constexpr std::size_t times = 8;
  for (const auto& [name, begin, unit, middle, secondUnit, code, call] : documents) {
    SCOPED_TRACE(name);
    Cost costs[2];
    for (const bool large : {false, true}) {
      const std::size_t count = size / (large ? 1 : times) / std::max<std::size_t>(unit.size() + secondUnit.size(), 1);
      const std::string end = "<z k='v'>end</z></r>";
      costs[large] = CostOf(name, begin + Repeat(unit, count) + middle + Repeat(secondUnit, count) + end, call, count);
      EXPECT_EQ(costs[large].result, code);
    }
    EXPECT_LT(costs[0].seconds, 5.0);
    EXPECT_LT(costs[1].seconds, 3 * times * costs[0].seconds + 0.3);
    EXPECT_LT(costs[1].bytes, 48e6 + 40.0 * static_cast<double>(size));
  }
}

} // namespace
