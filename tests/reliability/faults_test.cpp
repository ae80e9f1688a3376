// Makes each call fail in turn that the library makes of lower layers: its own allocations, those
// of the parser and the cipher, and the system's file functions. No exception may leave a function,
// the code must be a documented one, the file must be either the old or the new one, complete, no
// other file may stay in its folder, and the same call must succeed the next time. The address
// sanitizer reports leaks. The linker redirects the calls from everything that is linked
// statically.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <set>

#include "support/locale_guard.h"
#include "support/open_document.h"

namespace {

struct Fault {
  enum Place { Memory, System } place;
  int kind = 0;      // for System: errno; for Memory: nonzero if all later calls fail, too
  int countdown = 0; // the number of the call that fails, from 1; 0: none
  bool isArmed = false, hasFired = false;
  const char* missingCall = ""; // one that the file system does not have
} fault;
std::vector<std::string> systemCalls; // recorded while a System fault is armed
std::string failedCall;               // the last one that failed
std::set<std::string> failedCalls;    // all so far

bool Fails(Fault::Place place) noexcept {
  if (!fault.isArmed || fault.place != place) return false;
  if (fault.hasFired) return place == Fault::Memory && fault.kind != 0;
  return fault.hasFired = --fault.countdown == 0;
}

bool SystemFails(const char* call) {
  if (!fault.isArmed || fault.place != Fault::System) return false;
  systemCalls.emplace_back(call);
  const bool fails = Fails(Fault::System);
  if (fails) failedCalls.insert(failedCall = call);
  const bool isUnsupported = fault.kind == ENOSYS || fault.kind == EOPNOTSUPP;
  errno = fails || isUnsupported ? fault.kind : EINVAL;
  return fails || systemCalls.back() == fault.missingCall;
}

// Shortens reads and writes.
std::size_t Part(std::size_t size) {
  return fault.place == Fault::System ? std::min<std::size_t>(size, 60) : size;
}

} // namespace

// The build reads the names from here. They are visible so that a sanitizer's library can call
// them.
#pragma GCC visibility push(default)
#define SYSTEM_CALL(name, Result, parameters, ...)               \
  extern "C" Result __real_##name parameters;                    \
  extern "C" Result __wrap_##name parameters {                   \
    return SystemFails(#name) ? -1 : __real_##name(__VA_ARGS__); \
  }
SYSTEM_CALL(openat, int, (int at, const char* name, int how, mode_t mode), at, name, how, mode)
SYSTEM_CALL(statx, int, (int at, const char* n, int how, unsigned m, struct statx* to), at, n, how,
            m, to)
SYSTEM_CALL(readlinkat, ssize_t, (int at, const char* name, char* to, size_t n), at, name, to, n)
SYSTEM_CALL(fcntl, int, (int file, int command, struct flock* lock), file, command, lock)
SYSTEM_CALL(flock, int, (int file, int operation), file, operation)
SYSTEM_CALL(read, ssize_t, (int file, void* bytes, size_t size), file, bytes, Part(size))
SYSTEM_CALL(write, ssize_t, (int file, const void* bytes, size_t size), file, bytes, Part(size))
SYSTEM_CALL(futimens, int, (int file, const timespec* times), file, times)
SYSTEM_CALL(flistxattr, ssize_t, (int file, char* names, size_t size), file, names, size)
SYSTEM_CALL(fgetxattr, ssize_t, (int file, const char* name, void* to, size_t n), file, name, to, n)
SYSTEM_CALL(fsetxattr, int, (int file, const char* name, const void* v, size_t n, int how), file,
            name, v, n, how)
SYSTEM_CALL(fremovexattr, int, (int file, const char* name), file, name)
SYSTEM_CALL(fchown, int, (int file, uid_t owner, gid_t group), file, owner, group)
SYSTEM_CALL(fchmod, int, (int file, mode_t mode), file, mode)
SYSTEM_CALL(fsync, int, (int file), file)
SYSTEM_CALL(getentropy, int, (void* to, size_t size), to, size)
SYSTEM_CALL(linkat, int, (int a, const char* from, int b, const char* to, int how), a, from, b, to,
            how)
SYSTEM_CALL(renameat2, int, (int a, const char* from, int b, const char* to, unsigned how), a, from,
            b, to, how)
SYSTEM_CALL(unlinkat, int, (int at, const char* name, int how), at, name, how)

#define ALLOCATION(name, parameters, arguments)                      \
  extern "C" void* __real_##name parameters;                         \
  extern "C" void* __wrap_##name parameters {                        \
    return Fails(Fault::Memory) ? nullptr : __real_##name arguments; \
  }
ALLOCATION(malloc, (std::size_t size), (size))
ALLOCATION(calloc, (std::size_t count, std::size_t size), (count, size))
ALLOCATION(realloc, (void* old, std::size_t size), (old, size))
#pragma GCC visibility pop

// For the whole program. Not inlined, because the compiler would warn of a mismatch of operator new
// and free. The array forms call these, except with sanitizers.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
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

// A document in another encoding, one with a document type, and one with names beyond ASCII and a
// long name.
const std::string gbk = "<?xml version='1.0' encoding='GBK'?><R>\xC4\xE3</R>";
const std::string catalog =
    R"(<!DOCTYPE Catalog [<!ENTITY own 'an entity'><!ATTLIST Setting kind NMTOKEN 'default'>]>
<Catalog><ProductPackage note="&own;"><ProductID>A-PRODUCT-OF-SOME-LENGTH</ProductID>
  <LangPackage><FileList><FileItem><Name>first-file-of-the-list</Name><Hash>1&own;</Hash></FileItem></FileList></LangPackage></ProductPackage></Catalog>)";
const std::string longName(80, 'n'), longValue(80, 'v');
const std::string words =
    "<W\xC3\xB6rt>\n  <\xC3\xA4 k='v'>\xC3\xBC</\xC3\xA4>\n  <" + longName + "/>\n</W\xC3\xB6rt>\n";
const std::string edited = "<W\xC3\xB6rt><B/></W\xC3\xB6rt>";

// The calls' results.
char text[260];
std::vector<FileListEntry> files;

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
// While the host program has locked the file for its process, which reading the file elsewhere
// would end.
std::uint32_t SetWhileLocked(Opened d) {
  const int held = open(d.Name().c_str(), O_RDWR | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  if (__real_fcntl(held, F_SETLK, &lock) != 0) return 99;
  const std::uint32_t code = set(d);
  close(held);
  return code;
}

// What happens between opening and the call.
void OpenPackage(Opened d) { d.Group("ProductPackage"); }
void RemoveFile(Opened d) { std::filesystem::remove(d.Name()); }
void EditFile(Opened d) { d.Write(edited); }
// Later than 2262, which a count of nanoseconds does not reach.
void DateFarAhead(Opened d) {
  const timespec times[] = {{10'500'000'000, 0}, {10'500'000'000, 0}};
  utimensat(AT_FDCWD, d.Name().c_str(), times, 0);
}
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
  const char* missingCall = "";
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
    {"create", Setting, words, Set("W\xF6rt\\neu", "tief&\xE4=\xFC\xFC\xFC\xFC\xFC\xFC\xFC")},
    {"set an attribute", Setting, words, Set("W\xF6rt\\\xE4", "k", "ATTRIBUTE")},
    {"save another's file behind a link", Setting, words, set, MoveBehindLink},
    {"merge", Setting, words, set, EditFile},
    {"save what the process has locked", Setting, words, &SetWhileLocked},
    {"save what is dated far ahead", Setting, words, set, DateFarAhead},
    {"create the file anew", Setting, words, set, RemoveFile},
    {"create the file anew", Setting, words, set, RemoveFile, "linkat"},
    {"create the file anew", Setting, words, set, RemoveFile, "renameat2"},
    {"merge", Setting, words, set, EditFile, "linkat"},
};

// What a file system may lack or another program may hold does not make a save fail.
const std::set<int> unsupported{ENODATA, EOPNOTSUPP, ENOSYS};
const std::set<int> lockless{EAGAIN, EACCES, ENOLCK, EOPNOTSUPP, ENOSYS, EINVAL};
const std::map<std::string, std::set<int>> harmless{{"fcntl", lockless},
                                                    {"flock", lockless},
                                                    {"flistxattr", unsupported},
                                                    {"fgetxattr", unsupported},
                                                    {"fremovexattr", unsupported}};

// The second flush is that of the folder.
bool FolderFailed() {
  return fault.hasFired && failedCall == "fsync" && std::ranges::count(systemCalls, "fsync") == 2;
}

// Whether a call that meets the fault may return the code.
bool IsPromised(Kind kind, std::uint32_t code) {
  if (kind == Other || (fault.place == Fault::System && fault.kind == EINTR)) return false;
  if (fault.place == Fault::System) {
    const auto found = harmless.find(failedCall);
    if (found != harmless.end() && found->second.contains(fault.kind)) return false;
    if (FolderFailed() && fault.kind == EINVAL) return false;
  }
  if (kind == Reading) return code == 3 || code == 34;
  if (fault.place == Fault::Memory) return code == 1 || (kind == Opening && code == 34);
  if (fault.kind == ENOMEM)
    return code == 1 || (code == 34 && std::ranges::count(systemCalls, "getentropy") > 0);
  if (kind == Opening) return code == 42 || (code == 5 && fault.kind == ENOENT);
  return code == 34;
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
  systemCalls.clear();
  failedCall.clear();
  fault = wanted;
  fault.isArmed = true;
  const std::uint32_t code = call(document);
  fault.isArmed = false;
  return code;
}

// Returns whether the call that should fail was reached. right: the state after the work without a
// fault, set by a run with countdown 0.
bool Run(const Work& work, const Fault& wanted, std::int32_t encrypted, State& right) {
  SCOPED_TRACE(testing::Message() << work.name << " without " << work.missingCall << ", kind "
                                  << wanted.kind << ", call " << wanted.countdown);
  TestDocument document(work.text, encrypted);
  // So the file is in the state that the document remembers.
  EXPECT_TRUE(work.kind != Setting || document.Save() == 0U);
  work.prepare(document);
  const State old = StateOf(document);
  const std::uint32_t code = CallWith(wanted, work.call, document);
  const bool hasFired = fault.hasFired;
  const State now = StateOf(document);
  if (wanted.countdown == 0) right = now;
  EXPECT_TRUE(code == 0 || (hasFired && IsPromised(work.kind, code))) << code;
  EXPECT_EQ(now.file, code == 0 || FolderFailed() ? right.file : old.file);
  if (work.kind == Setting && fault.place == Fault::System && code == 0) {
    // Only a folder that may not be read is not flushed, what cannot be linked by its descriptor is
    // linked by its path, and only another file of that name makes a save start again.
    EXPECT_TRUE(std::ranges::count(systemCalls, "fsync") > 1 || fault.kind == EACCES);
    EXPECT_TRUE(!FolderFailed() || fault.kind == EINVAL);
    EXPECT_TRUE(std::ranges::count(systemCalls, "linkat") != 1 || failedCall != "linkat");
    EXPECT_TRUE(std::ranges::count(systemCalls, "renameat2") < 2 || fault.kind == EEXIST ||
                fault.kind == EINTR);
  }
  const Fault none{.place = Fault::Memory, .missingCall = work.missingCall};
  EXPECT_TRUE(code == 0 || CallWith(none, work.call, document) == 0U);
  EXPECT_TRUE(StateOf(document) == right);
  return hasFired;
}

// Makes each call fail in turn, and returns the number of calls.
int Sweep(const Work& work, Fault wanted, std::int32_t encrypted = 0) {
  wanted.missingCall = work.missingCall;
  State right;
  while (Run(work, wanted, encrypted, right) || wanted.countdown == 0) {
    ++wanted.countdown;
    if (testing::Test::HasFailure()) break;
  }
  return wanted.countdown - 1;
}

// Storing a line must not count as the library's allocation.
void Keep(void* lines, corekit::LogKind, const wchar_t*, const wchar_t* line) {
  const bool wasArmed = std::exchange(fault.isArmed, false);
  static_cast<std::set<std::wstring>*>(lines)->insert(line);
  fault.isArmed = wasArmed;
}

// Uses files in memory if possible, since a disk would flush them thousands of times.
[[maybe_unused]] const bool inMemory =
    std::filesystem::exists("/dev/shm") && setenv("TMPDIR", "/dev/shm", 0) == 0;

constexpr const char* locale = "ISO-8859-1"; // names and values are converted

TEST(Faults, OfAnyAllocation) {
  const LocaleGuard guard(locale);
  std::set<std::wstring> lines;
  for (const std::int32_t encrypted : {0, 1}) {
    for (const int lasting : {0, 1}) {
      corekit::SetLogSink(lasting == encrypted ? &Keep : nullptr, &lines);
      int count = 0;
      for (const Work& work : works) count += Sweep(work, {Fault::Memory, lasting}, encrypted);
      EXPECT_GT(count, 300);
    }
  }
  corekit::SetLogSink(nullptr, nullptr);
  for (const wchar_t* wanted :
       {L"Failed to allocate memory for tokens", L"Failed to get \u00e4: unknown exception thrown.",
        L"Unknown exception occurred while searching for the path in the root element",
        L"Unknown exception thrown while searching for the group name."})
    EXPECT_TRUE(lines.contains(wanted)) << testing::PrintToString(std::wstring(wanted));
}

TEST(Faults, OfAnySystemCall) {
  const LocaleGuard guard(locale);
  for (const int error : {EINTR, EIO, EACCES, ENOENT, ENOSPC, EOPNOTSUPP, EEXIST, EAGAIN, ENOMEM,
                          ENOSYS, EINVAL, ENOLCK, ENODATA}) {
    for (const Work& work : works)
      EXPECT_TRUE((work.kind != Opening && work.kind != Setting) ||
                  Sweep(work, {Fault::System, error}) > 4);
  }
  EXPECT_EQ(failedCalls.size(), 19U) << testing::PrintToString(failedCalls); // all of the above
}

} // namespace
