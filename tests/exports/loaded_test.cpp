// The library as used without its headers: loaded at run time, with functions found by their
// exported names and called with pointers and 32-bit numbers. The text is Japanese, with a
// backslash as the second byte of characters.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>

#include "support/locale_guard.h"
#include "support/temp_folder.h"

namespace {

template <class... Arguments>
std::uint32_t Call(const char* name, Arguments... arguments) {
  static const HMODULE library = LoadLibraryW(L"tarvik.dll");
  using Function = std::uint32_t WINAPI(Arguments...);
  const auto function =
      reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
  if (function == nullptr) throw std::runtime_error(std::string("no function ") + name);
  return function(arguments...);
}

TEST(LoadedTest, AllFunctionsAreFoundByNameAndWorkOnTextWithABackslashAsSecondByte) {
  const LocaleGuard locale(".932");
  const TempFolder folder;
  std::ofstream(folder.Path() / L"\u8868.xml")
      << "<Catalog><ProductPackage><ProductID>P</ProductID><ProductDetection "
         "Branch='B'/><LangPackage Branch='B' "
         "Version='1'><PackageType>T</PackageType><FileList><FileItem><Name>a</Name><Hash>1</"
         "Hash></FileItem>"
         "</FileList></LangPackage></ProductPackage></Catalog>";
  void* list = nullptr;
  std::uint32_t cookie = 0;
  ASSERT_EQ(Call("InitXMLList", &list), 0U);
  const std::string name = folder.Path().string() + "\\\x95\x5C.xml";
  ASSERT_EQ(Call("OpenXML", list, name.c_str(), 4U, 0, &cookie), 0U);
  std::uint32_t matches = 0;
  EXPECT_EQ(Call("MatchXmlListToFileName", list, cookie, "\x95\x5C.XML", &matches), 0U);
  EXPECT_EQ(matches, 1U);
  EXPECT_EQ(Call("SetXMLItem", list, cookie, "Catalog\\\x95\x5C\\\x94\x5C", "\x83\x5C", "ELEMENT",
                 "\x8F\x5C"),
            0U);
  char group[260] = "";
  EXPECT_EQ(Call("OpenXMLGroup", list, cookie, "\x95\x5C\\\x94\x5C", group, 260U), 0U);
  char value[260] = "";
  EXPECT_EQ(
      Call("GetXMLItem", list, cookie, group, "\x83\x5C", "ELEMENT", nullptr, nullptr, value, 260U),
      0U);
  EXPECT_STREQ(value, "\x8F\x5C");
  EXPECT_EQ(Call("EnumXMLItem", list, cookie, group, "\x83\x5C", "ELEMENT", 2, nullptr, nullptr,
                 value, 260U),
            3U);
  EXPECT_EQ(Call("EnumXMLGroup", list, cookie, "x", 1U, group, 260U), 3U);

  std::uint8_t enabled = 1;
  EXPECT_EQ(Call("_IsRepositoryEnabled@20", list, &cookie, &enabled, nullptr, nullptr), 3U);
  std::uint32_t position[] = {1, 1, 1};
  std::string info[9];
  EXPECT_EQ(Call("_EnumDetectionInfo@16", list, &cookie, position, info), 0U);
  EXPECT_EQ(Call("_GetDetectionInfo@24", list, &cookie, "B", "P", "T", info), 0U);
  EXPECT_EQ(info[1] + info[8], "P1");
  std::vector<std::array<std::string, 2>> files;
  EXPECT_EQ(Call("_GetFileList@12", list, &cookie, &files), 0U);
  EXPECT_EQ(files.size() == 1 ? files[0][0] + files[0][1] : "", "a1");
  EXPECT_EQ(Call("CloseXML", list, cookie) + Call("EndXMLList", &list), 0U);
}

} // namespace
