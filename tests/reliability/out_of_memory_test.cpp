// Makes each allocation of a session over all functions fail in turn: the library's, those of the parser and those of the
// cipher underneath. The linker leads the allocation functions of all that is linked statically here; the allocation
// operators of the whole program stand here, too.
#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/err.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <tuple>

#include "corekit/corekit.h"
#include "support/locale_guard.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

namespace {

struct Fault {
  int countdown = 0;    // the allocation that fails, counted from 1
  bool lasting = false; // as do all that follow it in the same call
  bool armed = false;
  bool fired = false;
};
Fault fault;
long liveBlocks = 0;

bool Refused() noexcept {
  if (!fault.armed) return false;
  if (fault.fired) return fault.lasting;
  fault.fired = --fault.countdown == 0;
  return fault.fired;
}

void* Counted(void* block) noexcept {
  if (block != nullptr) ++liveBlocks;
  return block;
}

} // namespace

#pragma GCC visibility push(default) // the linker finds them called by shared libraries, too
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* old, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) { return Refused() ? nullptr : Counted(__real_malloc(size)); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return Refused() ? nullptr : Counted(__real_calloc(count, size));
}
void* __wrap_realloc(void* old, std::size_t size) {
  if (Refused()) return nullptr;
  void* const block = __real_realloc(old, size);
  return old == nullptr ? Counted(block) : block;
}
void __wrap_free(void* block) {
  if (block != nullptr) --liveBlocks;
  __real_free(block);
}
}
#pragma GCC visibility pop

// Not inlined, so that the compiler does not take them for a mismatch of operator new and free. The sanitizers have each form
// of their own, so none is left out.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  if (static_cast<std::size_t>(alignment) > alignof(std::max_align_t)) std::abort();
  return operator new(size);
}
void* operator new[](std::size_t size) { return operator new(size); }
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete(void* block, std::align_val_t) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { operator delete(block); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

namespace {

constexpr std::uint32_t thrown = 1'000; // in place of a code: the exception that a query may let pass

const std::string status = "<SiteStatus Status='Enabled' CatalogVersion='version-20240131120000'/>";
const std::string catalog =
    R"(<!DOCTYPE Catalog [<!ENTITY own 'text of an entity'><!ATTLIST Setting kind NMTOKEN 'default'>]>
<Catalog>
  <ProductPackage note="&own;">
    <ProductID>A-PRODUCT-OF-SOME-LENGTH</ProductID>
    <ProductDetection Branch="A-BRANCH-OF-SOME-LENGTH">
      <ProductVersion>2.0</ProductVersion><PlatformID>ANY-PLATFORM-AT-ALL</PlatformID>
    </ProductDetection>
    <LangPackage Branch="A-BRANCH-OF-SOME-LENGTH" Version="1.2.3.4.5.6.7.8.9.10">
      <LangID>0000</LangID><PackageType>Install</PackageType>
      <ExtraSettings>
        <Setting Name="MinimumDATVersion">4000-and-some-more</Setting><Setting Name="EngineFile">engine-of-some-length</Setting>
      </ExtraSettings>
      <FileList>
        <FileItem><Name>first-file-of-the-list</Name><Hash>1&own;</Hash></FileItem>
        <FileItem><Name>second-file-of-the-list</Name><Hash>2</Hash></FileItem>
      </FileList>
    </LangPackage>
  </ProductPackage>
</Catalog>
)";
// Names that are not plain ASCII, and one that is longer than what is kept in place, are converted on the heap.
const std::string longName(80, 'n');
const std::string words =
    "<W\xC3\xB6rter>\n  <\xC3\xA4 k='v'>\xC3\xBC</\xC3\xA4>\n  <" + longName + "/>\n</W\xC3\xB6rter>\n";

void DropLine(void*, corekit::LogKind, const wchar_t*, const wchar_t*) {}

// The documents on disk and what a caller holds.
struct Session {
  Session(const TempFolder& folder, bool encrypted) : folder(folder), encrypted(encrypted) {
    for (const auto& [name, plain] : {std::pair("status", status), {"catalog", catalog}, {"words", words}}) {
      std::string bytes = plain;
      if (encrypted && !corekit::KCryptWrap::encrypt_data(plain, bytes)) throw std::runtime_error("not enciphered");
      folder.Write(name, bytes);
    }
  }
  ~Session() { EndXMLList(&list); }

  std::string File(const char* name) const {
    std::string bytes = folder.Read(name);
    if (encrypted && !corekit::KCryptWrap::decrypt_data(bytes, bytes)) throw std::runtime_error("not deciphered");
    return bytes;
  }

  const TempFolder& folder;
  bool encrypted;
  XmlFileList* list = nullptr;
  std::uint32_t statusCookie = 0, catalogCookie = 0, wordsCookie = 0;
  char text[260] = "";
  DetectionInfo info;
  std::vector<FileListEntry> files;
};

// Runs one call of the library with the allocations that may fail.
template <class Function, class... Arguments>
std::uint32_t Call(Function function, Arguments... arguments) {
  fault.armed = true;
  std::uint32_t code = thrown;
  try {
    code = function(arguments...);
  } catch (const std::bad_alloc&) {
  }
  fault.armed = false;
  return code;
}

std::uint32_t Open(Session& s, const char* name, std::uint32_t& cookie) {
  const std::string fileName = s.folder.Name(name);
  return Call(OpenXML, s.list, fileName.c_str(), 4U, s.encrypted ? 1 : 0, &cookie);
}

std::uint32_t Group(Session& s, std::uint32_t cookie, std::string_view parent, const char* path,
                    std::uint32_t occurrence) {
  s.text[parent.copy(s.text, sizeof s.text - 1)] = '\0';
  return Call(EnumXMLGroup, s.list, cookie, path, occurrence, s.text, 260U);
}

std::uint32_t Text(Session& s, std::uint32_t cookie, const char* path, const char* child, std::int32_t index = 1) {
  return Call(EnumXMLItem, s.list, cookie, path, child, "ELEMENT", index, nullptr, nullptr, s.text, 260U);
}

std::uint32_t Attribute(Session& s, std::uint32_t cookie, const char* path, const char* element, const char* name) {
  return Call(GetXMLItem, s.list, cookie, path, element, "ATTRIBUTE", name, "ATTRIBUTE", s.text, 260U);
}

std::uint32_t Set(Session& s, std::uint32_t cookie, const char* path, const char* item, const char* type,
                  const char* value) {
  return Call(SetXMLItem, s.list, cookie, path, item, type, value);
}

struct Step {
  const char* what;
  std::uint32_t (*run)(Session&);
  std::vector<std::uint32_t> failures; // the codes that a lack of memory may give
  bool partial = false; // may succeed with fields left empty, since it does not tell a failure from a miss
};

const std::vector<Step> steps = {
    {"InitXMLList", [](Session& s) { return Call(InitXMLList, &s.list); }, {1}},
    {"OpenXML", [](Session& s) { return Open(s, "status", s.statusCookie); }, {1, 34}},
    {"OpenXML, entities", [](Session& s) { return Open(s, "catalog", s.catalogCookie); }, {1, 34}},
    {"OpenXML, words", [](Session& s) { return Open(s, "words", s.wordsCookie); }, {1, 34}},
    {"OpenXML, open", [](Session& s) { return Open(s, "words", s.wordsCookie); }, {}},
    {"IsRepositoryEnabled",
     [](Session& s) {
       std::uint8_t enabled = 0;
       const std::uint32_t capacity = sizeof s.text;
       return Call(IsRepositoryEnabled, s.list, &s.statusCookie, &enabled, s.text, &capacity);
     },
     {3, 34}},
    {"OpenXMLGroup",
     [](Session& s) {
       s.text[0] = '\0';
       return Call(OpenXMLGroup, s.list, s.wordsCookie, "W\xC3\xB6rter\\\xC3\xA4&k=v", s.text, 260U);
     },
     {3, 34}},
    {"EnumXMLGroup", [](Session& s) { return Group(s, s.catalogCookie, "", "ProductPackage", 1); }, {3, 34}},
    {"EnumXMLGroup, below",
     [](Session& s) { return Group(s, s.catalogCookie, "ProductPackage", "LangPackage\\FileList\\FileItem", 2); },
     {3, 34}},
    {"GetXMLItem, entity",
     [](Session& s) { return Attribute(s, s.catalogCookie, "ProductPackage", "ProductPackage", "note"); },
     {3, 34}},
    {"GetXMLItem, root",
     [](Session& s) { return Attribute(s, s.wordsCookie, "W\xC3\xB6rter", "\xC3\xA4", "k"); },
     {3, 34}},
    {"EnumXMLItem", [](Session& s) { return Text(s, s.wordsCookie, "W\xC3\xB6rter", "\xC3\xA4"); }, {3, 34}},
    {"EnumXMLItem, long",
     [](Session& s) { return Text(s, s.wordsCookie, "W\xC3\xB6rter", longName.c_str()); },
     {3, 34}},
    {"SetXMLItem, text",
     [](Session& s) {
       return Set(s, s.catalogCookie, "ProductPackage", "ProductID", "ELEMENT", "A-PRODUCT-OF-OTHER-LENGTH <&>");
     },
     {1}},
    {"SetXMLItem, new",
     [](Session& s) {
       return Set(s, s.wordsCookie, "W\xC3\xB6rter\\neu",
                  "tief&\xC3\xA4=\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC", "ELEMENT",
                  "a text of some length");
     },
     {1}},
    {"SetXMLItem, root",
     [](Session& s) { return Set(s, s.wordsCookie, "W\xC3\xB6rter", "k", "ATTRIBUTE", "a value of some length"); },
     {1}},
    {"SetXMLItem, again",
     [](Session& s) { return Set(s, s.wordsCookie, "W\xC3\xB6rter\\\xC3\xA4", "k", "ATTRIBUTE", "w"); },
     {1}},
    {"GetXMLItem, made", [](Session& s) { return Text(s, s.wordsCookie, "neu", "tief"); }, {3, 34}},
    {"GetXMLItem, made attribute",
     [](Session& s) { return Attribute(s, s.wordsCookie, "neu\\tief", "tief", "\xC3\xA4"); },
     {3, 34}},
    {"EnumDetectionInfo",
     [](Session& s) {
       DetectionPosition position = {1, 1, 1};
       return Call(EnumDetectionInfo, s.list, &s.catalogCookie, position, &s.info);
     },
     {3, 34, thrown},
     true},
    {"GetDetectionInfo",
     [](Session& s) {
       return Call(GetDetectionInfo, s.list, &s.catalogCookie, "A-BRANCH-OF-SOME-LENGTH",
                   "A-PRODUCT-OF-OTHER-LENGTH <&>", "Install", &s.info);
     },
     {3, 34, thrown},
     true},
    {"GetFileList",
     [](Session& s) {
       s.files.clear();
       return Call(GetFileList, s.list, &s.catalogCookie, &s.files);
     },
     {3, 34}},
    {"MatchXmlListToFileName",
     [](Session& s) {
       std::uint32_t matches = 0;
       const std::uint32_t code = Call(MatchXmlListToFileName, s.list, s.statusCookie, "STATUS", &matches);
       return code == 0 && matches == 1 ? 0 : 34U;
     },
     {}},
    {"CloseXML", [](Session& s) { return Call(CloseXML, s.list, s.wordsCookie); }, {}},
    {"EndXMLList", [](Session& s) { return Call(EndXMLList, &s.list); }, {}},
};

// What a caller and the disk have after a step.
struct Seen {
  explicit Seen(const Session& s) : answers{s.text} {
    for (const auto field : {&DetectionInfo::ProductVersion, &DetectionInfo::ProductID, &DetectionInfo::LangID,
                             &DetectionInfo::PlatformID, &DetectionInfo::MinimumDATVersion, &DetectionInfo::Branch,
                             &DetectionInfo::PackageType, &DetectionInfo::EngineFile, &DetectionInfo::Version}) {
      answers.push_back(s.info.*field);
    }
    for (const FileListEntry& file : s.files) answers.insert(answers.end(), {file.Name, file.Hash});
  }
  std::vector<std::string> answers;
  std::string files;
};

std::string Files(const Session& s) { return s.File("catalog") + s.File("words"); }

// The cipher says only that it did not do its work, never why.
bool IsFailureOf(const Step& step, std::uint32_t code, bool encrypted) {
  if (encrypted && !step.failures.empty() && (code == 34 || code == 43)) return true;
  return std::ranges::find(step.failures, code) != step.failures.end();
}

using Mode = std::tuple<bool, bool, bool>; // whether the lack lasts, the files are enciphered, a sink is set

class OutOfMemory : public testing::TestWithParam<Mode> {
 protected:
  // A real disk flushes what a rename replaces, thousands of times here.
  static void SetUpTestSuite() {
    if (std::filesystem::exists("/dev/shm")) setenv("TMPDIR", "/dev/shm", 0);
  }
  void SetUp() override {
    std::tie(lasting, encrypted, logs) = GetParam();
    if (logs) corekit::SetLogSink(&DropLine, nullptr);
  }
  void TearDown() override { corekit::SetLogSink(nullptr, nullptr); }

  void RunWithoutFault() {
    Session session(folder, encrypted);
    fault = {};
    filesAtFirst = Files(session);
    for (const Step& step : steps) {
      ASSERT_EQ(step.run(session), 0U) << step.what;
      history.emplace_back(session).files = Files(session);
    }
  }

  // True when the fault did not fire, because the session needs fewer allocations.
  bool RunWithFault(int countdown) {
    Session session(folder, encrypted);
    fault = {countdown, lasting};
    for (std::size_t i = 0; i < steps.size(); ++i) {
      SCOPED_TRACE(steps[i].what);
      const bool firedBefore = fault.fired;
      std::uint32_t code = steps[i].run(session);
      if (fault.fired && !firedBefore) {
        fault.lasting = false;
        const bool done = code == 0;
        EXPECT_TRUE(done || IsFailureOf(steps[i], code, encrypted)) << "code " << code;
        EXPECT_EQ(Files(session), done ? history[i].files : i == 0 ? filesAtFirst : history[i - 1].files);
        if (!done || steps[i].partial) code = steps[i].run(session);
      }
      EXPECT_EQ(code, 0U);
      if (!fault.fired) continue;
      EXPECT_EQ(Seen(session).answers, history[i].answers);
    }
    EXPECT_EQ(Files(session), history.back().files);
    return !fault.fired;
  }

  const LocaleGuard utf8{"C.UTF-8"};
  const TempFolder folder;
  bool lasting = false, encrypted = false, logs = false;
  std::string filesAtFirst;
  std::vector<Seen> history; // after each step, when nothing fails
};

TEST_P(OutOfMemory, EachAllocationOfASessionMayFail) {
  RunWithoutFault();
  for (int countdown = 1;; ++countdown) {
    SCOPED_TRACE(countdown);
    ERR_clear_error(); // the cipher library keeps what it said of its last failures
    const long before = liveBlocks;
    const bool done = RunWithFault(countdown);
    if (HasFailure()) return; // what is said of it takes memory, too
    ERR_clear_error();
    EXPECT_EQ(liveBlocks, before) << "leaked";
    if (!done) continue;
    EXPECT_GT(countdown, 300) << "the faults must reach the library";
    RecordProperty("allocations", countdown - 1);
    return;
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, OutOfMemory,
                         testing::Values(Mode(false, false, true), Mode(false, true, false), Mode(true, false, false),
                                         Mode(true, true, true)));

// The cipher library takes its memory by these functions only if it is told before it takes any.
const int cipherLibraryTold =
    CRYPTO_set_mem_functions([](std::size_t size, const char*, int) { return std::malloc(size); },
                             [](void* old, std::size_t size, const char*, int) { return std::realloc(old, size); },
                             [](void* block, const char*, int) { std::free(block); });

TEST(OutOfMemoryItself, ReachesTheCipherLibrary) { EXPECT_EQ(cipherLibraryTold, 1); }

} // namespace
