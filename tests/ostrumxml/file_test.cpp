#include "host/ostrumxml/file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "ostrumxml/parsed_document.h"
#include "support/temp_folder.h"

namespace {

std::string Utf16(std::u16string_view text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += bigEndian ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

struct ReadBack {
  long result;
  std::string text;
};

ReadBack Read(const std::string& name, Ostrum::ByteFilter decrypt = nullptr) {
  Ostrum::DocumentText text;
  auto encoding = Ostrum::UTF_8;
  unsigned long byteCount = 0;
  const long result = Ostrum::ReadBufferFromFileNoExp(Wide(name).c_str(), text, encoding, byteCount, decrypt);
  EXPECT_EQ(text.Length(), Ostrum::WideLengthOf(text.Utf8()));
  return {result, text.Utf8()};
}

TEST(File, ReadsEachEncodingOrRefusesIt) {
  const std::string bad = "(refused)";
  const std::u16string_view doc16 = u"\xFEFF<?xml version='1.0' encoding='UTF-16'?><r>\u00E9\U0001F600</r>";
  const std::string doc8 = "<?xml version='1.0' encoding='UTF-8'?><r>\xC3\xA9\xF0\x9F\x98\x80</r>";
  const struct {
    std::string bytes;
    std::string text;
  } cases[] = {
      {"", ""},
      {"<r>\xC3\xA9</r>", "<r>\xC3\xA9</r>"},
      {"\xEF\xBB\xBF<r/>", "\xEF\xBB\xBF<r/>"},
      {"<?xml version='1.0' encoding=\"utf-8\"?><r/>", "<?xml version='1.0' encoding=\"utf-8\"?><r/>"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>",
       "<?xml version='1.0' encoding='UTF-8'?><r>\xC3\xA9</r>"},
      {"<?xml version='1.0' encoding='us-ascii' ?><r/>", "<?xml version='1.0' encoding='UTF-8' ?><r/>"},
      {Utf16(doc16, true), doc8},
      {Utf16(doc16, false), doc8},
      {Utf16(u"\xFEFF<r/>", false), "<r/>"},
      {Utf16(u"\xFEFF<?xml version='1.0' encoding='utf-16le'?><r/>", false),
       "<?xml version='1.0' encoding='UTF-8'?><r/>"},
      {Utf16(u"\xFEFF<?xml version='1.0' encoding='UTF-16LE'?><r/>", true), bad},
      {Utf16(u"\xFEFF<?xml version='1.0' encoding='UTF-8'?><r/>", true), bad},
      {Utf16(u"<r/>", true), bad},
      {Utf16(u"<r/>", false), bad},
      {Utf16(u"\xFEFF<r>\xD83D</r>", false), bad},
      {Utf16(u"\xFEFF<r>\xDE00</r>", false), bad},
      {Utf16(u"\xFEFF<r/>", false) + " ", bad},
      {std::string("\xFF\xFE\0\0<\0\0\0", 8), bad},
      {"<?xml version='1.0' encoding='us-ascii'?><r>\xC3\xA9</r>", bad},
      {"<?xml version='1.0' encoding='UTF-16'?><r/>", bad},
      {"<?xml version='1.0' encoding='windows-1252'?><r/>", bad},
      {"\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><r/>", bad},
      {"<r>\xE9</r>", bad},
      {"<r>\xC0\x80</r>", bad},
      {"<r>\xED\xA0\x80</r>", bad},
      {"<r>\xF4\x90\x80\x80</r>", bad},
      {"<r>\xE6\x97", bad},
  };
  const TempFolder folder;
  for (const auto& [bytes, text] : cases) {
    const auto [result, read] = Read(folder.Write("f.xml", bytes));
    EXPECT_EQ(result, text == bad ? Ostrum::ReadBadEncoding : Ostrum::ReadDone) << bytes;
    EXPECT_EQ(read, text == bad ? "" : text);
  }
}

TEST(File, TellsWhyItWasNotRead) {
  const TempFolder folder;
  EXPECT_EQ(Read(folder.Name("none.xml")).result, Ostrum::ReadNoFile);
  EXPECT_EQ(Read(folder.Name("none/f.xml")).result, Ostrum::ReadNoFile);
  EXPECT_EQ(Read(folder.Path().string()).result, Ostrum::ReadUnreadable);
  const std::string name = folder.Write("f.xml", "<r/>");
  EXPECT_EQ(Read(name, [](const std::string&, std::string&) { return false; }).result, Ostrum::ReadRefused);
  EXPECT_EQ(Read(name, [](const std::string&, std::string&) -> bool { throw std::bad_alloc(); }).result,
            Ostrum::ReadNoMemory);
  EXPECT_EQ(Read(name, [](const std::string&, std::string&) -> bool { throw 1; }).result, Ostrum::ReadFailed);
  std::filesystem::resize_file(name, 2'147'483'648); // takes no room on the disk
  EXPECT_EQ(Read(name).result, Ostrum::ReadTooLong);
}

TEST(File, WritesThroughTheFilterOrNotAtAll) {
  const TempFolder folder;
  const std::string name = folder.Write("f.xml", "old");
  const std::wstring wide = Wide(name);
  const Ostrum::DocumentText text("<r/>", 4);
  const auto reverse = [](const std::string& input, std::string& output) {
    output.assign(input.rbegin(), input.rend());
    return true;
  };
  Ostrum::WriteBufferToFile(wide.c_str(), text, Ostrum::UTF_8, reverse, nullptr);
  EXPECT_EQ(folder.Read("f.xml"), ">/r<");
  EXPECT_EQ(Read(name, reverse).text, "<r/>");
  const auto refuse = [](const std::string&, std::string&) { return false; };
  EXPECT_THROW(Ostrum::WriteBufferToFile(wide.c_str(), text, Ostrum::UTF_8, refuse, nullptr), std::runtime_error);
  EXPECT_THROW(
      Ostrum::WriteBufferToFile(wide.c_str(), text, Ostrum::UTF_8, nullptr, [](const std::string&) { return false; }),
      std::runtime_error);
  EXPECT_EQ(folder.Read("f.xml"), ">/r<");
}

} // namespace
