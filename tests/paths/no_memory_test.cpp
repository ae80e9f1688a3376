// What the paths do when there is no memory. The allocation operators of the whole test program stand here.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "paths/item_path.h"
#include "paths/parsed.h"
#include "paths/path_search.h"
#include "registry/record.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"

using Lines = std::vector<std::string>;

namespace {

// Lets no allocation succeed while it lives.
class NoMemory {
 public:
  NoMemory() { lives = true; }
  ~NoMemory() { lives = false; }
  static inline bool lives = false;
};

std::vector<corekit::LogKind> kinds; // room is made beforehand

void Count(void*, corekit::LogKind kind, const wchar_t*, const wchar_t*) {
  if (kind == corekit::LogKind::Error) kinds.push_back(kind);
}

} // namespace

// Not inlined, so that the compiler does not take them for a mismatch of operator new and free.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const memory = NoMemory::lives ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

TEST(Paths, NeedNoMemoryWhereTextsAreShort) {
  const auto document = Parse("<Root><Item/><Item><Part kind='x'/></Item></Root>");
  XmlFileRecord record{};
  record.document = document.get();
  SearchEnd end{};
  const auto search = [&] {
    char rest[260];
    if (IsRootInPath(record, "Root\\Item") == 1) RemoveRootFromBeginningOfPath("Root\\Item", rest, sizeof rest);
    FindElementByPath(&document->GetRoot(), rest, 2, &end);
  };
  search(); // the document makes a name's wide form when it is first asked for
  end = SearchEnd::Missing;
  {
    const NoMemory none;
    search();
  }
  EXPECT_EQ(SearchEnd::Found, end);
}

TEST(Paths, TellALackOfMemoryFromAMiss) {
  // Only names beyond ASCII are converted, which needs memory.
  const LocaleGuard utf8("C.utf8");
  std::string longName;
  for (int i = 0; i < 300; ++i) longName += "\xC3\xA9";
  const auto document = Parse("<" + longName + "><" + longName + "/></" + longName + ">");
  XmlFileRecord record{};
  record.document = document.get();
  SearchEnd end{};
  const Ostrum::Element* found = nullptr;
  kinds.reserve(8);
  corekit::SetLogSink(&Count, nullptr);
  {
    const NoMemory none;
    EXPECT_EQ(0, IsRootInPath(record, longName.c_str()));
    found = FindElementByPath(&document->GetRoot(), longName.c_str(), 1, &end);
    EXPECT_EQ(2u, kinds.size());
    FindElementByPath(&document->GetRoot(), "\xC3\xA9", 1, &end); // a child's name that does not fit in place
  }
  corekit::SetLogSink(nullptr, nullptr);
  EXPECT_EQ(&Ostrum::Element::null, found);
  EXPECT_EQ(SearchEnd::OutOfMemory, end);
  EXPECT_EQ(3u, kinds.size());
}
