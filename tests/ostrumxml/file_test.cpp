#include "host/ostrumxml/file.h"

#include <gtest/gtest.h>

#include "ostrumxml/parsed_document.h"
#include "support/temp_folder.h"

namespace {

std::string Utf16(std::u16string_view text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += bigEndian ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

std::string Read(const std::string& name, long expected) {
  Ostrum::DocumentText text;
  auto encoding = Ostrum::UTF_8;
  unsigned long byteCount = 0;
  EXPECT_EQ(Ostrum::ReadBufferFromFileNoExp(Wide(name).c_str(), text, encoding, byteCount, nullptr), expected);
  EXPECT_EQ(text.Length(), Wide(text.Utf8()).size());
  return text.Utf8();
}

TEST(File, ReadsEachEncodingOrRefusesIt) {
  const std::u16string_view doc16 = u"\xFEFF<?xml version='1.0' encoding='UTF-16'?><r>\u00E9\U0001F600</r>";
  const std::string doc8 = "<?xml version='1.0' encoding='UTF-8'?><r>\xC3\xA9\xF0\x9F\x98\x80</r>";
  const std::string bad; // refused
  const struct {
    std::string bytes, text;
  } cases[] = {
      {doc8, doc8},
      {"\xEF\xBB\xBF<r/>", "\xEF\xBB\xBF<r/>"},
      {"<?xml version='1.0' encoding='ISO-8859-1' ?><r>\xE9</r>",
       "<?xml version='1.0' encoding='UTF-8' ?><r>\xC3\xA9</r>"},
      {"<?xml version='1.0' encoding=\"us-ascii\"?><r/>", "<?xml version='1.0' encoding=\"UTF-8\"?><r/>"},
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
      {"\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><r/>", bad},
      {"<r>\xC0\x80</r>", bad},
      {"<r>\xED\xA0\x80</r>", bad},
      {"<r>\xF4\x90\x80\x80</r>", bad},
      {"<r>\xE6\x97", bad},
  };
  const TempFolder folder;
  for (const auto& [bytes, text] : cases) {
    const long expected = text == bad ? Ostrum::ReadBadEncoding : Ostrum::ReadDone;
    EXPECT_EQ(Read(folder.Write("f.xml", bytes), expected), text) << bytes;
  }
  EXPECT_EQ(Read(folder.Write("f.xml", ""), Ostrum::ReadDone), "");
  std::filesystem::resize_file(folder.Name("f.xml"), 2'147'483'648); // takes no room on the disk
  EXPECT_EQ(Read(folder.Name("f.xml"), Ostrum::ReadTooLong), "");
}

} // namespace
