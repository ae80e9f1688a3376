// Makes each allocation of a session over all functions fail in turn: the library's, and those of the parser and the cipher
// underneath. The linker leads the allocation functions of all that is linked statically here; the allocation operators of
// the whole program stand here, too. What a failure leaks, the address sanitizer tells.
#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "corekit/corekit.h"
#include "support/locale_guard.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

namespace {

struct Fault {
  int countdown = 0;    // the allocation that fails, counted from 1
  bool lasting = false; // as do all that follow it in the same call
  bool armed = false, fired = false;
};
Fault fault;

bool Refused() noexcept {
  if (!fault.armed) return false;
  if (fault.fired) return fault.lasting;
  return fault.fired = --fault.countdown == 0;
}

} // namespace

#pragma GCC visibility push(default) // the linker finds them called by shared libraries, too
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* old, std::size_t size);

void* __wrap_malloc(std::size_t size) { return Refused() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(std::size_t count, std::size_t size) { return Refused() ? nullptr : __real_calloc(count, size); }
void* __wrap_realloc(void* old, std::size_t size) { return Refused() ? nullptr : __real_realloc(old, size); }
}
#pragma GCC visibility pop

// Not inlined, so that the compiler does not take them for a mismatch of operator new and free. The forms for arrays call these,
// but for the sanitizers' own.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace {

constexpr std::uint32_t thrown = 1'000; // in place of a code: the exception that a query may let pass

const std::string status =
    "<?xml version='1.0' encoding='GBK'?>" // which is converted
    "<SiteStatus Status='Enabled' CatalogVersion='version-20240131120000'/>";
const std::string catalog = R"(<!DOCTYPE Catalog [<!ENTITY own 'an entity'><!ATTLIST Setting kind NMTOKEN 'default'>]>
<Catalog><ProductPackage note="&own;"><ProductID>A-PRODUCT-OF-SOME-LENGTH</ProductID>
  <ProductDetection Branch="A-BRANCH-OF-SOME-LENGTH"><PlatformID>ANY-PLATFORM-AT-ALL</PlatformID></ProductDetection>
  <LangPackage Branch="A-BRANCH-OF-SOME-LENGTH" Version="1.2.3.4.5.6.7.8.9.10"><PackageType>Install</PackageType>
    <ExtraSettings><Setting Name="EngineFile">engine-of-some-length</Setting></ExtraSettings>
    <FileList><FileItem><Name>first-file-of-the-list</Name><Hash>1&own;</Hash></FileItem>
      <FileItem><Name>second-file-of-the-list</Name><Hash>2</Hash></FileItem></FileList>
</LangPackage></ProductPackage></Catalog>)";
// Names that are not plain ASCII, and one that is longer than what is kept in place, are converted on the heap.
const std::string longName(80, 'n'), longValue(80, 'v');
const std::string words =
    "<W\xC3\xB6rt>\n  <\xC3\xA4 k='v'>\xC3\xBC</\xC3\xA4>\n  <" + longName + "/>\n</W\xC3\xB6rt>\n";

class Sweep {
 public:
  Sweep(bool lasting, bool encrypted) : lasting(lasting), encrypted(encrypted) {}

  // Gives whether the fault fired: else the session needs fewer allocations. Run 0 is without a fault, and tells what is
  // right after each step.
  bool Run(int countdown) {
    for (auto [name, bytes] : {std::pair("status", status), {"catalog", catalog}, {"words", words}}) {
      EXPECT_TRUE(!encrypted || corekit::KCryptWrap::encrypt_data(bytes, bytes));
      folder.Write(name, bytes);
    }
    fault = {countdown, lasting};
    step = 0;
    if (countdown == 0) right = {{Files(), ""}};
    CallEach();
    EXPECT_EQ(Files(), right.back().first);
    return fault.fired;
  }

 private:
  static std::uint32_t Armed(auto& call) {
    fault.armed = true;
    std::uint32_t code = thrown;
    try {
      code = call();
    } catch (const std::bad_alloc&) {
    }
    fault.armed = false;
    return code;
  }

  // One call of the library with the allocations that may fail, and again if it failed.
  void Step(std::vector<std::uint32_t> failures, auto call) {
    SCOPED_TRACE(testing::Message() << "step " << ++step);
    const auto mayGive = [&](std::uint32_t code) { return std::ranges::count(failures, code) > 0; };
    const bool firedBefore = fault.fired;
    std::uint32_t code = Armed(call);
    if (fault.fired && !firedBefore) {
      fault.lasting = false;
      EXPECT_TRUE(code == 0 || mayGive(code)) << "code " << code;
      EXPECT_EQ(Files(), right[code == 0 ? step : step - 1].first);
      // A query that may throw does not tell a failure from a miss, so it may succeed with fields left empty.
      if (code != 0 || mayGive(thrown)) code = Armed(call);
    }
    EXPECT_EQ(code, 0U);
    std::string answers = text + info.PlatformID + info.EngineFile + info.Version;
    for (const FileListEntry& file : files) answers += file.Name + file.Hash;
    if (right.size() == step) right.emplace_back(Files(), answers);
    EXPECT_EQ(answers, right[step].second);
  }

  std::string Files() const {
    std::string all;
    for (const char* name : {"catalog", "words"}) {
      std::string bytes = folder.Read(name);
      EXPECT_TRUE(!encrypted || corekit::KCryptWrap::decrypt_data(bytes, bytes));
      all += bytes;
    }
    return all;
  }

  void CallEach() {
    const std::string names[] = {folder.Name("status"), folder.Name("catalog"), folder.Name("words")};
    std::uint32_t cookies[3] = {}, matches = 0;
    const std::uint32_t &s = cookies[0], &c = cookies[1], &w = cookies[2];
    const std::uint32_t capacity = sizeof text;
    std::uint8_t enabled = 0;
    XmlFileList* list = nullptr;
    *text = '\0', info = {}, files.clear();

    Step({1}, [&] { return InitXMLList(&list); });
    for (const std::size_t i : {0U, 1U, 2U}) {
      Step({1, 34}, [&] { return OpenXML(list, names[i].c_str(), 4, encrypted, &cookies[i]); });
    }
    Step({}, [&] { return OpenXML(list, names[2].c_str(), 4, encrypted, &cookies[2]); });
    Step({3, 34}, [&] { return IsRepositoryEnabled(list, &s, &enabled, text, &capacity); });
    Step({3, 34}, [&] { return OpenXMLGroup(list, w, "W\xC3\xB6rt\\\xC3\xA4&k=v", std::strcpy(text, ""), capacity); });
    Step({3, 34}, [&] { return EnumXMLGroup(list, c, "ProductPackage", 1, std::strcpy(text, ""), capacity); });
    Step({3, 34}, [&] {
      return EnumXMLGroup(list, c, "LangPackage\\FileList\\FileItem", 2, std::strcpy(text, "ProductPackage"), capacity);
    });
    const auto get = [&](std::uint32_t cookie, const char* path, const char* item, const char* attribute) {
      Step({3, 34},
           [&] { return GetXMLItem(list, cookie, path, item, "ATTRIBUTE", attribute, "ATTRIBUTE", text, capacity); });
    };
    const auto getText = [&](const char* path, const char* item) {
      Step({3, 34}, [&] { return EnumXMLItem(list, w, path, item, "ELEMENT", 1, nullptr, nullptr, text, capacity); });
    };
    const auto set = [&](std::uint32_t cookie, const char* path, const char* item, const char* type) {
      Step({1}, [&] { return SetXMLItem(list, cookie, path, item, type, longValue.c_str()); });
    };
    get(c, "ProductPackage", "ProductPackage", "note");
    get(w, "W\xC3\xB6rt", "\xC3\xA4", "k");
    getText("W\xC3\xB6rt", "\xC3\xA4");
    getText("W\xC3\xB6rt", longName.c_str());
    set(c, "ProductPackage", "ProductID", "ELEMENT");
    set(w, "W\xC3\xB6rt\\neu", "tief&\xC3\xA4=\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC", "ELEMENT");
    set(w, "W\xC3\xB6rt", "k", "ATTRIBUTE");
    set(w, "W\xC3\xB6rt\\\xC3\xA4", "k", "ATTRIBUTE");
    getText("neu", "tief");
    get(w, "neu\\tief", "tief", "\xC3\xA4");
    Step({3, 34, thrown}, [&] {
      DetectionPosition position = {1, 1, 1};
      return EnumDetectionInfo(list, &c, position, &info);
    });
    Step({3, 34, thrown},
         [&] { return GetDetectionInfo(list, &c, "A-BRANCH-OF-SOME-LENGTH", longValue.c_str(), "Install", &info); });
    Step({3, 34}, [&] {
      files.clear();
      return GetFileList(list, &c, &files);
    });
    Step({}, [&] { return MatchXmlListToFileName(list, s, "STATUS", &matches); });
    EXPECT_TRUE(enabled == 1 && matches == 1);
    Step({}, [&] { return CloseXML(list, w); });
    Step({}, [&] { return EndXMLList(&list); });
  }

  const TempFolder folder;
  bool lasting, encrypted;
  std::size_t step = 0;
  std::vector<std::pair<std::string, std::string>> right; // files and answers before the first step, and after each
  char text[260] = "";
  DetectionInfo info;
  std::vector<FileListEntry> files;
};

// The cipher library takes its memory by these functions only if it is told before it takes any.
const int cipherLibraryTold =
    CRYPTO_set_mem_functions([](std::size_t size, const char*, int) { return std::malloc(size); },
                             [](void* old, std::size_t size, const char*, int) { return std::realloc(old, size); },
                             [](void* block, const char*, int) { std::free(block); });

void DropLine(void*, corekit::LogKind, const wchar_t*, const wchar_t*) {}

class OutOfMemory : public testing::TestWithParam<int> {};

TEST_P(OutOfMemory, EachAllocationOfASessionMayFail) {
  ASSERT_EQ(cipherLibraryTold, 1);
  // A real disk flushes what a rename replaces, thousands of times here.
  if (std::filesystem::exists("/dev/shm")) setenv("TMPDIR", "/dev/shm", 0);
  const LocaleGuard utf8("C.UTF-8");
  const bool lasting = GetParam() > 1, encrypted = GetParam() % 2 != 0;
  corekit::SetLogSink(lasting == encrypted ? &DropLine : nullptr, nullptr);
  Sweep sweep(lasting, encrypted);
  int countdown = 0;
  sweep.Run(countdown);
  for (bool fired = true; fired && !HasFailure();) { // what is said of a failure takes memory, too
    SCOPED_TRACE(++countdown);
    fired = sweep.Run(countdown);
  }
  EXPECT_GT(countdown, 200) << "the faults must reach the library";
  corekit::SetLogSink(nullptr, nullptr);
}
INSTANTIATE_TEST_SUITE_P(Modes, OutOfMemory, testing::Range(0, 4));

TEST(LogLine, AllocatesNothingWithoutASinkAndEndsWhereMemoryDoes) {
  const auto build = [] {
    const corekit::KDetailTrace trace(L"A", L"Function");
    corekit::KString line(L"begin");
    fault = {1};
    fault.armed = true;
    line << longValue.c_str() << longName.c_str() << 1L;
    fault.armed = false;
    return std::wstring(line << "end");
  };
  EXPECT_EQ(build(), L"");
  EXPECT_FALSE(fault.fired);
  corekit::SetLogSink(&DropLine, nullptr);
  EXPECT_EQ(build(), L"begin" + std::wstring(80, L'v')); // as much as the first room holds, and nothing behind the gap
  EXPECT_TRUE(fault.fired);
  corekit::SetLogSink(nullptr, nullptr);
}

} // namespace
