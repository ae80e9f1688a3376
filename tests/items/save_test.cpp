#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

constexpr const char* before = "<Root><A>1</A></Root>";
constexpr const char* after = "<Root><A>2</A></Root>";

// A limit on the size of files stands in for a full disk.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) : oldHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &oldLimit);
    const rlimit limit{bytes, oldLimit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &oldLimit);
    std::signal(SIGXFSZ, oldHandler);
  }

 private:
  void (*oldHandler)(int);
  rlimit oldLimit{};
};

class Save : public testing::Test {
 protected:
  void ExpectRefusedSave() {
    EXPECT_EQ(document.SetText("", "A", "2"), 34U);
    EXPECT_EQ(log.Take().back(), "error: Unknown error while setting xml");
    EXPECT_EQ(document.FilesInFolder(), 1U) << "a temporary file stayed";
    EXPECT_EQ(document.Text("Root", "A"), "2") << "the change is kept for the next save";
  }
  void ExpectNextSaveToWork() {
    EXPECT_EQ(SetXMLItem(document.list, document.cookie, "", "", "", ""), 0U);
    EXPECT_EQ(document.Bytes(), after);
    EXPECT_EQ(document.FilesInFolder(), 1U);
  }

  TestDocument document{before};
  LogLines log;
};

TEST_F(Save, OnAFullDiskKeepsTheOldFile) {
  for (const rlim_t bytes : {0U, 1U, 20U}) {
    const FullDisk disk(bytes);
    ExpectRefusedSave();
    EXPECT_EQ(document.Bytes(), before);
  }
  ExpectNextSaveToWork();
}

TEST_F(Save, RefusesAFileThatBecameReadOnly) {
  ASSERT_EQ(chmod(document.Name().c_str(), 0444), 0);
  ExpectRefusedSave();
  EXPECT_EQ(document.Bytes(), before);
  ASSERT_EQ(chmod(document.Name().c_str(), 0640), 0);
  ExpectNextSaveToWork();
  struct stat status {};
  ASSERT_EQ(stat(document.Name().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(Save, RefusesAFolderInTheFilesPlace) {
  std::filesystem::remove(document.Name());
  std::filesystem::create_directory(document.Name());
  ExpectRefusedSave();
  EXPECT_TRUE(std::filesystem::is_directory(document.Name()));
  std::filesystem::remove(document.Name());
  ExpectNextSaveToWork(); // a file that was removed meanwhile is made anew
}

TEST_F(Save, FollowsASymbolicLink) {
  const std::string target = document.Name() + ".target";
  std::filesystem::rename(document.Name(), target);
  std::filesystem::create_symlink(target, document.Name());
  EXPECT_EQ(document.SetText("", "A", "2"), 0U);
  EXPECT_TRUE(std::filesystem::is_symlink(document.Name()));
  EXPECT_EQ(document.Bytes(), after);
  EXPECT_EQ(document.FilesInFolder(), 2U);
}

} // namespace
