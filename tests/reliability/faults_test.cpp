// Makes each allocation fail in turn: the library's own, those of the parser and the cipher, and
// that of random numbers. No exception may leave a function, the code must be a documented one, the
// file must be either the old or the new one, complete, no other file may stay in its folder, and
// the same call must succeed the next time. The address sanitizer reports leaks. The linker
// redirects the calls from everything that is linked statically.
#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>

#include "support/locale_guard.h"
#include "support/open_document.h"
#include "support/text.h"

namespace {

struct Fault {
  int countdown = 0;         // the number of the allocation that fails, from 1; 0: none
  bool isLasting = false;    // whether all later ones fail, too
  bool isUnexpected = false; // whether operator new throws something else then
  bool isArmed = false, hasFired = false;
} fault;

bool Fails() noexcept {
  if (!fault.isArmed) return false;
  if (fault.hasFired) return fault.isLasting;
  return fault.hasFired = --fault.countdown == 0;
}

} // namespace

// The build reads the names from here. They are visible so that a sanitizer's library can call
// them.
#pragma GCC visibility push(default)
#define ALLOCATION(name, parameters, arguments, type, failure) \
  extern "C" type __real_##name parameters;                    \
  extern "C" type __wrap_##name parameters { return Fails() ? failure : __real_##name arguments; }
ALLOCATION(malloc, (std::size_t size), (size), void*, nullptr)
ALLOCATION(calloc, (std::size_t count, std::size_t size), (count, size), void*, nullptr)
ALLOCATION(realloc, (void* old, std::size_t size), (old, size), void*, nullptr)
ALLOCATION(getentropy, (void* target, std::size_t size), (target, size), int,
           (fault.isUnexpected = true, -1))
#pragma GCC visibility pop

// For the whole program. Not inlined, because the compiler would warn of a mismatch of operator new
// and free. The array forms call these, except with sanitizers.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  if (block == nullptr && fault.isUnexpected) throw std::exception();
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

// The cipher library uses these functions if they are set before its first allocation.
[[maybe_unused]] const int cipherLibraryTold = CRYPTO_set_mem_functions(
    [](std::size_t size, const char*, int) { return std::malloc(size); },
    [](void* old, std::size_t size, const char*, int) { return std::realloc(old, size); },
    [](void* block, const char*, int) { std::free(block); });

namespace {

// A document in another encoding, one with a document type, and one with names beyond ASCII, a long
// name and so many children that they get an index.
const std::string gbk = "<?xml version='1.0' encoding='GBK'?><R>\xC4\xE3</R>";
const std::string catalog =
    R"(<!DOCTYPE Catalog [<!ENTITY own 'an entity'><!ATTLIST Setting kind NMTOKEN 'default'>]>
<Catalog><ProductPackage note="&own;"><ProductID>A-PRODUCT-OF-SOME-LENGTH</ProductID>
  <LangPackage><FileList><FileItem><Name>first-file-of-the-list</Name><Hash>1&own;</Hash></FileItem></FileList></LangPackage></ProductPackage></Catalog>)";
const std::string longName(150, 'n'), longValue(80, 'v');
const std::string words = "<W\xC3\xB6rt>\n  <\xC3\xA4 k='v'>\xC3\xBC</\xC3\xA4>\n  <" + longName +
                          "/>\n" + Repeat("  <i/>\n", 24) + "</W\xC3\xB6rt>\n";

// The calls' results.
char text[260];
std::vector<FileListEntry> files;
int reasons = 0; // lines that say why the call was refused

using Opened = TestDocument&;
using Call = std::function<std::uint32_t(Opened)>;

Call Group(const char* parent, const char* path) {
  return [=](Opened d) {
    return EnumXMLGroup(d.list, d.cookie, path, 1, std::strcpy(text, parent), sizeof text);
  };
}
Call Get(const char* path, const char* item, const char* attribute = nullptr) {
  const char* const type = attribute == nullptr ? "ELEMENT" : "ATTRIBUTE";
  return [=](Opened d) {
    return EnumXMLItem(d.list, d.cookie, path, item, type, 1, attribute, type, text, sizeof text);
  };
}
Call Set(const char* path, const char* item, const char* type = "ELEMENT") {
  return
      [=](Opened d) { return SetXMLItem(d.list, d.cookie, path, item, type, longValue.c_str()); };
}
std::uint32_t OpenAgain(Opened d) {
  return OpenXML(d.list, d.Name().c_str(), XmlOpenAtOnce, 0, &d.cookie);
}
std::uint32_t Close(Opened d) { return CloseXML(d.list, d.cookie); }
std::uint32_t GetFiles(Opened d) { return GetFileList(d.list, &d.cookie, &files); }

const Call set = Set("", longName.c_str());

// What happens between opening and the call.
void OpenPackage(Opened d) { d.Group("ProductPackage"); }
void RemoveFile(Opened d) { std::filesystem::remove(d.Name()); }
void EditFile(Opened d) { d.Write("<W\xC3\xB6rt><B/></W\xC3\xB6rt>"); }
// Makes the file a link to another owner's file with attributes.
void MoveBehindLink(Opened d) {
  const std::string target = d.Name() + ".target";
  std::filesystem::rename(d.Name(), target);
  std::filesystem::create_symlink(target, d.Name());
  setxattr(target.c_str(), "user.of-mine", "v", 1, 0);
  if (chown(target.c_str(), 1234, 4321) != 0) return; // only root may
}

enum Kind { Opening, Reading, Setting, Other };
const struct Work {
  const char* name;
  Kind kind;
  const std::string& text;
  Call call;
  void (*prepare)(Opened) = [](Opened) {};
} works[] = {
    {"open", Opening, catalog, &TestDocument::Open},
    {"open another encoding", Opening, gbk, &TestDocument::Open},
    {"open what is open", Other, words, &OpenAgain},
    {"close", Other, words, &Close},
    {"group by value", Reading, words, Group("", "W\xF6rt\\\xE4&k=v")},
    {"group in a group", Reading, catalog,
     Group("ProductPackage", "LangPackage\\FileList\\FileItem"), OpenPackage},
    {"entity", Reading, catalog, Get("ProductPackage", "ProductPackage", "note"), OpenPackage},
    {"attribute", Reading, words, Get("W\xF6rt", "\xE4", "k")},
    {"text", Reading, words, Get("W\xF6rt", "\xE4")},
    {"files", Reading, catalog, &GetFiles},
    {"set a text", Setting, catalog, Set("ProductPackage", "ProductID")},
    {"create", Setting, words, Set("W\xF6rt\\n\xF6u", "tief&\xE4=\xFC\xFC\xFC\xFC\xFC\xFC\xFC")},
    {"set an attribute", Setting, words, Set("W\xF6rt\\\xE4", "k", "ATTRIBUTE")},
    {"save another's file behind a link", Setting, words, set, MoveBehindLink},
    {"merge", Setting, words, set, EditFile},
    {"create the file anew", Setting, words, set, RemoveFile},
};

// Whether a call that meets the fault may return the code.
bool IsPromised(Kind kind, std::uint32_t code) {
  if (kind == Reading) return code == 3 || code == 34;
  return kind != Other && (code == 1 || ((kind == Opening || fault.isUnexpected) && code == 34));
}

struct State {
  std::string file, results; // file: with the number of files in its folder
  bool operator==(const State&) const = default;
};
State StateOf(const TestDocument& document) {
  std::string results = text;
  for (const FileListEntry& entry : files) results += entry.Name + entry.Hash;
  return {document.Bytes() + std::to_string(document.FilesInFolder()), results};
}

std::uint32_t CallWith(const Fault& wanted, const Call& call, Opened document) {
  text[0] = '\0';
  files.clear();
  reasons = 0;
  fault = wanted;
  fault.isArmed = true;
  const std::uint32_t code = call(document);
  fault.isArmed = false;
  return code;
}

// Returns whether the call that should fail was reached. right: the state after the work without a
// fault, set by a run with countdown 0.
bool Run(const Work& work, const Fault& wanted, std::int32_t encrypted, State& right) {
  SCOPED_TRACE(testing::Message() << work.name << ", allocation " << wanted.countdown);
  TestDocument document(work.text, encrypted);
  // So the file is in the state that the document remembers.
  EXPECT_TRUE(work.kind != Setting || document.Save() == 0U);
  work.prepare(document);
  const State old = StateOf(document);
  const std::uint32_t code = CallWith(wanted, work.call, document);
  const bool hasFired = fault.hasFired;
  const State now = StateOf(document);
  const bool isExplained = corekit::LogIsOn() && code != 0 && work.kind != Reading;
  EXPECT_TRUE(reasons == isExplained || document.list == nullptr) << reasons;
  if (wanted.countdown == 0) right = now;
  EXPECT_TRUE(code == 0 || (hasFired && IsPromised(work.kind, code))) << code;
  EXPECT_EQ(now.file, code == 0 ? right.file : old.file);
  EXPECT_TRUE(code == 0 || CallWith({}, work.call, document) == 0U);
  EXPECT_TRUE(StateOf(document) == right);
  return hasFired;
}

// Makes each allocation fail in turn, and returns their number.
int Sweep(const Work& work, Fault wanted, std::int32_t encrypted) {
  State right;
  while (Run(work, wanted, encrypted, right) || wanted.countdown == 0) {
    ++wanted.countdown;
    if (testing::Test::HasFailure()) break;
  }
  return wanted.countdown - 1;
}

// Storing a line must not count as the library's allocation.
void Keep(void* lines, corekit::LogKind kind, const wchar_t* component, const wchar_t* line) {
  const bool wasArmed = std::exchange(fault.isArmed, false);
  static_cast<std::set<std::wstring>*>(lines)->insert(line);
  // A line has no gap where memory ended, and an exception never passes for a damaged file.
  EXPECT_TRUE(*line != L'/' && std::wcsncmp(line, L" (", 2) != 0 && !std::wcsstr(line, L"aborted"));
  reasons += kind == corekit::LogKind::Error && component == std::wstring_view(L"ostrumxml");
  fault.isArmed = wasArmed;
}

// Uses files in memory if possible, since a disk would flush them thousands of times.
[[maybe_unused]] const bool inMemory =
    std::filesystem::exists("/dev/shm") && setenv("TMPDIR", "/dev/shm", 0) == 0;

TEST(Faults, OfAnyAllocation) {
  const LocaleGuard guard("ISO-8859-1"); // names and values are converted
  std::set<std::wstring> lines;
  for (const std::int32_t encrypted : {0, 1}) {
    for (const Fault& wanted : {Fault{}, {.isLasting = true}, {.isUnexpected = true}}) {
      corekit::SetLogSink(wanted.isLasting == (encrypted != 0) ? &Keep : nullptr, &lines);
      int count = 0;
      for (const Work& work : works) count += Sweep(work, wanted, encrypted);
      EXPECT_GT(count, 300);
    }
  }
  corekit::SetLogSink(nullptr, nullptr);
  for (const wchar_t* wanted :
       {L"Failed to allocate memory for tokens", L"Failed to get \u00e4: unknown exception thrown.",
        L"Unknown exception occurred while searching for the path in the root element",
        L"Unknown exception occurred while searching for LangPackage\\FileList\\FileItem",
        L"Unknown exception thrown while searching for the group name.",
        L"Failed to initialize the xml file list:  memory allocation failed.", L":  -3", L":  -2",
        L":  unable to allocate memory for ", L": unknown exception thrown while opening."}) {
    const auto isWanted = [&](const std::wstring& line) { return line.find(wanted) < line.size(); };
    EXPECT_TRUE(std::ranges::any_of(lines, isWanted)) << testing::PrintToString(wanted);
  }
}

} // namespace
