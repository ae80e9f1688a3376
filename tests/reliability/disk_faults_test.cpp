// A disk that fails under an opening or a save, as the caller sees it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "support/log_lines.h"
#include "support/open_document.h"

namespace {

std::string_view failingStep; // fails once, after what it got done
int failure = 0;
std::size_t longestTransfer = SIZE_MAX;
std::string shrinking; // this file is cut in half before it is first read

bool Fails(std::string_view step) {
  if (step != failingStep) return false;
  failingStep = {};
  errno = failure;
  return true;
}

} // namespace

extern "C" {
ssize_t __real_read(int file, void* bytes, std::size_t size);
ssize_t __real_write(int file, const void* bytes, std::size_t size);
int __real_fsync(int file);
int __real_rename(const char* from, const char* to);

ssize_t __wrap_read(int file, void* bytes, std::size_t size) {
  if (!shrinking.empty()) std::filesystem::resize_file(shrinking, std::filesystem::file_size(shrinking) / 2);
  shrinking.clear();
  return Fails("read") ? -1 : __real_read(file, bytes, std::min(size, longestTransfer));
}
ssize_t __wrap_write(int file, const void* bytes, std::size_t size) {
  if (failingStep != "write") return __real_write(file, bytes, std::min(size, longestTransfer));
  if (size > 1) return __real_write(file, bytes, size / 2); // the disk fills up
  return Fails("write") ? -1 : __real_write(file, bytes, size);
}
int __wrap_fsync(int file) { return Fails("fsync") ? -1 : __real_fsync(file); }
int __wrap_rename(const char* from, const char* to) { return Fails("rename") ? -1 : __real_rename(from, to); }
}

namespace {

const std::string before = "<Root><A>1</A></Root>";
const std::string after = "<Root><A>a longer text</A></Root>";

std::string Enciphered(std::string bytes, std::int32_t encrypted) {
  if (encrypted != 0 && !corekit::KCryptWrap::encrypt_data(bytes, bytes)) throw std::runtime_error("not enciphered");
  return bytes;
}

TEST(DiskFaults, AFailedSaveLeavesTheOldFileAndTheNextOneSavesTheChange) {
  for (const std::int32_t encrypted : {0, 1}) {
    for (const auto& [step, error] : {std::pair("write", ENOSPC), {"fsync", EIO}, {"rename", EACCES}}) {
      SCOPED_TRACE(step);
      TestDocument document(Enciphered(before, encrypted), encrypted);
      const std::string bytes = document.Bytes();
      LogLines log;
      failingStep = step;
      failure = error;
      EXPECT_EQ(document.SetText("", "A", "a longer text"), 34U);
      EXPECT_EQ(log.Take().back(), "error: Unknown error while setting xml");
      EXPECT_EQ(failingStep, "");
      EXPECT_EQ(document.Bytes(), bytes);
      EXPECT_EQ(document.FilesInFolder(), 1U);

      longestTransfer = 3; // short writes are no failure
      EXPECT_EQ(document.SetText("", "A", "a longer text"), 0U);
      document.Reopen(); // nor are short reads
      longestTransfer = SIZE_MAX;
      EXPECT_EQ(document.Text("Root", "A"), "a longer text");
      std::string plain = document.Bytes();
      EXPECT_TRUE(encrypted == 0 || corekit::KCryptWrap::decrypt_data(plain, plain));
      EXPECT_EQ(plain, after);
    }
  }
}

TEST(DiskFaults, AnOpeningTellsWhatItMet) {
  for (const std::int32_t encrypted : {0, 1}) {
    const TestDocument document(Enciphered(before, encrypted), encrypted);
    XmlFileList* list = nullptr;
    ASSERT_EQ(InitXMLList(&list), 0U);
    std::uint32_t cookie = 7;
    failingStep = "read";
    failure = EIO;
    EXPECT_EQ(OpenXML(list, document.Name().c_str(), 4, encrypted, &cookie), 42U);
    shrinking = document.Name();
    // Half a document is not well-formed; the cipher already refuses half of what it made.
    EXPECT_EQ(OpenXML(list, document.Name().c_str(), 4, encrypted, &cookie), encrypted != 0 ? 43U : 1U);
    EXPECT_EQ(shrinking, "");
    EXPECT_EQ(cookie, 7U);
    EndXMLList(&list);
  }
}

} // namespace
