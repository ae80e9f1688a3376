// Time and memory stay in proportion to the file, whatever it holds. Prints what each document took; the environment variable
// TARVIK_HOSTILE_BYTES asks for larger ones than the few megabytes that serve as a test.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "reliability/hostile_documents.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

namespace {

#if defined(__has_feature)
#define FEATURE(name) __has_feature(name)
#else
#define FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || FEATURE(address_sanitizer) || \
    FEATURE(thread_sanitizer)
constexpr bool memoryIsOurs = false; // a sanitizer's own use hides it
#else
constexpr bool memoryIsOurs = true;
#endif

std::size_t LargeSize() {
  const char* const asked = std::getenv("TARVIK_HOSTILE_BYTES");
  return asked != nullptr ? std::strtoull(asked, nullptr, 10) : 4'000'000;
}

// Of processor time, which other programs on the machine do not lengthen.
class Watch {
 public:
  double Lap() {
    const std::clock_t now = std::clock();
    return static_cast<double>(now - std::exchange(last, now)) / CLOCKS_PER_SEC;
  }

 private:
  std::clock_t last = std::clock();
};

// A caller's work on a document; what is to be read is always the last child. Gives what went wrong, 0 for nothing.
int OpenReadAndSet(const char* fileName, const char* label) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  char value[16] = "";
  Watch watch;
  if (InitXMLList(&list) != 0 || OpenXML(list, fileName, 4, 0, &cookie) != 0) return 1;
  const double opened = watch.Lap();
  if (GetXMLItem(list, cookie, "r", "z", "ELEMENT", nullptr, nullptr, value, sizeof value) != 0) return 2;
  if (std::string_view(value) != "end") return 3;
  if (GetXMLItem(list, cookie, "r", "z", "ATTRIBUTE", "k", "ATTRIBUTE", value, sizeof value) != 0) return 4;
  if (GetXMLItem(list, cookie, "r", "r", "ATTRIBUTE", "none", "ATTRIBUTE", value, sizeof value) != 3) return 5;
  const double read = watch.Lap();
  if (SetXMLItem(list, cookie, "r", "z", "ELEMENT", "set") != 0) return 6;
  if (SetXMLItem(list, cookie, "r", "new", "ATTRIBUTE", "v") != 0) return 7;
  const double set = watch.Lap();
  EndXMLList(&list);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("%-36s open %7.3f s  read %7.3f s  2 saves %7.3f s  close %7.3f s  peak %6.1f MB\n", label, opened, read,
              set, watch.Lap(), static_cast<double>(usage.ru_maxrss) / 1024);
  return 0;
}

int OpenAlone(const char* fileName, const char* label) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  InitXMLList(&list);
  Watch watch;
  const std::uint32_t code = OpenXML(list, fileName, 4, 0, &cookie);
  std::printf("%-36s code %u after %.3f s\n", label, code, watch.Lap());
  EndXMLList(&list);
  return static_cast<int>(code);
}

struct Cost {
  int result;     // what the work gave; -1 when the process died
  double seconds; // of the processor
  double bytes;   // at most resident
};

// In a process of its own, so that its peak and its death are its own.
Cost CostOf(int (*work)(const char*, const char*), const std::string& fileName, const char* label) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    const int result = work(fileName.c_str(), label);
    std::fflush(stdout);
    _exit(result);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, seconds(usage.ru_utime) + seconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) * 1024};
}

TEST(HostileFiles, CostInProportionToTheirSize) {
  const TempFolder folder;
  const std::size_t largeSize = LargeSize();
  constexpr std::size_t times = 8;
  for (const hostile::Shape& shape : hostile::shapes) {
    SCOPED_TRACE(shape.name);
    const Cost small = CostOf(OpenReadAndSet, folder.Write("small", shape.make(largeSize / times)), "");
    const Cost large = CostOf(OpenReadAndSet, folder.Write("large", shape.make(largeSize)), shape.name);
    EXPECT_EQ(small.result, 0);
    EXPECT_EQ(large.result, 0);
    EXPECT_LT(large.seconds, 3 * times * small.seconds + 0.3);
    if (memoryIsOurs) {
      EXPECT_LT(large.bytes, 64e6 + 60.0 * static_cast<double>(largeSize));
    }
  }
}

TEST(HostileFiles, BombsAreRefusedOrHarmless) {
  using hostile::Repeat;
  using hostile::Until;
  const auto entities = [](std::string_view kind, std::size_t levels, std::size_t width) {
    std::string text;
    for (std::size_t i = 1; i <= levels; ++i) {
      const std::string reference = (kind.empty() ? "&e" : "&#37;e") + std::to_string(i - 1) + ";";
      text += "<!ENTITY " + std::string(kind) + "e" + std::to_string(i) + " '" + Repeat(reference, width) + "'>";
    }
    return text;
  };
  const auto document = [](const std::string& declarations, const std::string& content) {
    return "<!DOCTYPE r [" + declarations + "]>" + content;
  };
  const std::string big = "<!ENTITY e0 '" + std::string(200'000, 'x') + "'>";
  const struct {
    const char* name;
    std::string text;
    int code; // 1: refused
  } bombs[] = {
      {"exponential", document("<!ENTITY e0 'lol'>" + entities("", 9, 10), "<r>&e9;</r>"), 1},
      {"exponential, in an attribute", document("<!ENTITY e0 'lol'>" + entities("", 9, 10), "<r a='&e9;'/>"), 1},
      {"exponential, in a default",
       document("<!ENTITY e0 'lol'>" + entities("", 9, 10) + "<!ATTLIST r a CDATA '&e9;'>", "<r/>"), 1},
      {"exponential, never used", document("<!ENTITY e0 'lol'>" + entities("", 9, 10), "<r/>"), 0},
      {"quadratic", document(big, "<r>" + Repeat("&e0;", 20'000) + "</r>"), 1},
      {"quadratic, in attributes", document(big, "<r>" + Repeat("<a b='&e0;'/>", 20'000) + "</r>"), 1},
      {"recursive", document("<!ENTITY a '&b;'><!ENTITY b '&a;'>", "<r>&a;</r>"), 1},
      {"recursive parameter", document("<!ENTITY % a '&#37;b;'><!ENTITY % b '&#37;a;'>%a;", "<r/>"), 0},
      {"parameter, exponential", document("<!ENTITY % e0 'lol'>" + entities("% ", 9, 10) + "%e9;", "<r/>"), 0},
      {"deep chain", document("<!ENTITY e0 ''>" + entities("", 100'000, 1), "<r>&e100000;</r>"), 1},
      {"external", document("<!ENTITY e SYSTEM 'file:///dev/zero'>", "<r>&e;</r>"), 0},
      {"external subset", "<!DOCTYPE r SYSTEM 'file:///dev/zero'><r/>", 0},
      {"defaults times elements",
       document("<!ATTLIST r " + Until(400'000, [](auto n) { return " a" + n + " CDATA ''"; }) + ">",
                "<r>" + Repeat("<r/>", 100'000) + "</r>"),
       1},
      {"elements from an entity", document("<!ENTITY e '<b/>'>", "<r>&e;</r>"), 1},
  };
  const TempFolder folder;
  for (const auto& bomb : bombs) {
    SCOPED_TRACE(bomb.name);
    const Cost cost = CostOf(OpenAlone, folder.Write("bomb", bomb.text), bomb.name);
    EXPECT_EQ(cost.result, bomb.code);
    EXPECT_LT(cost.seconds, 5.0);
    if (memoryIsOurs) {
      EXPECT_LT(cost.bytes, 200e6);
    }
  }
}

} // namespace
