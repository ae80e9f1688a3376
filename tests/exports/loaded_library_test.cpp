// Drives the built library as a foreign program would: loaded at run time, its functions found by their exported names.
// Its corekit is the one that this program links. Openings wait here, so there are few.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <stdexcept>

#include "support/log_lines.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

namespace {

class Library {
 public:
  Library() : handle(dlopen(TARVIK_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) throw std::runtime_error(dlerror());
  }
  ~Library() { dlclose(handle); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // The function of that name, with the type that the public header gives it.
  template <class Function>
  Function* Find(const char* name, Function*) const {
    void* address = dlsym(handle, name);
    if (address == nullptr) throw std::runtime_error(dlerror());
    return reinterpret_cast<Function*>(address);
  }

 private:
  void* handle;
};

// Only the type of the function is taken from the header: the name is looked up as text.
#define FIND(name) decltype(&::name) name = library.Find(#name, static_cast<decltype(&::name)>(nullptr))

struct Functions {
  Library library;
  FIND(InitXMLList);
  FIND(EndXMLList);
  FIND(OpenXML);
  FIND(CloseXML);
  FIND(OpenXMLGroup);
  FIND(EnumXMLGroup);
  FIND(GetXMLItem);
  FIND(EnumXMLItem);
  FIND(SetXMLItem);
  FIND(IsRepositoryEnabled);
  FIND(EnumDetectionInfo);
  FIND(GetDetectionInfo);
  FIND(GetFileList);
  FIND(MatchXmlListToFileName);
};

#undef FIND

constexpr const char* catalog =
    "<Catalog>\n"
    "  <ProductPackage>\n"
    "    <ProductID>P</ProductID>\n"
    "    <ProductDetection Branch='Current'><ProductVersion>1</ProductVersion></ProductDetection>\n"
    "    <LangPackage Branch='Current' Version='1.0'>\n"
    "      <LangID>0409</LangID><PackageType>Full</PackageType>\n"
    "      <ExtraSettings><Setting Name='EngineFile'>e.bin</Setting></ExtraSettings>\n"
    "      "
    "<FileList><FileItem><Name>a</Name><Hash>1</Hash></FileItem><FileItem><Name>b</Name><Hash>2</Hash></FileItem></"
    "FileList>\n"
    "    </LangPackage>\n"
    "    <LangPackage Branch='Current' Version='1.1'/>\n"
    "  </ProductPackage>\n"
    "</Catalog>\n";

class LoadedLibrary : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    std::string bytes = catalog;
    if (GetParam()) {
      ASSERT_TRUE(corekit::KCryptWrap::encrypt_data(catalog, bytes));
    }
    name = folder.Write("Catalog.xml", bytes);
    ASSERT_EQ(tarvik.InitXMLList(&list), XmlSuccess);
    Open();
  }
  void TearDown() override {
    EXPECT_EQ(tarvik.EndXMLList(&list), XmlSuccess);
    EXPECT_EQ(list, nullptr);
  }

  void Open() { ASSERT_EQ(tarvik.OpenXML(list, name.c_str(), 4, GetParam(), &cookie), XmlSuccess); }
  std::string Item(const char* path, const char* item, std::int32_t index) {
    std::array<char, 32> value{};
    EXPECT_EQ(tarvik.EnumXMLItem(list, cookie, path, item, "ELEMENT", index, nullptr, nullptr, value.data(), 32),
              XmlSuccess);
    return value.data();
  }
  std::string Group(const char* path, std::uint32_t occurrence, std::string id = "") {
    id.resize(260);
    EXPECT_EQ(tarvik.EnumXMLGroup(list, cookie, path, occurrence, id.data(), 260), XmlSuccess);
    return id.c_str();
  }

  void ReadCatalog() {
    std::uint32_t matches = 0;
    EXPECT_EQ(tarvik.MatchXmlListToFileName(list, cookie, "catalog.XML", &matches), XmlSuccess);
    EXPECT_EQ(matches, 1U);

    DetectionPosition position{1, 1, 1};
    DetectionInfo info;
    EXPECT_EQ(tarvik.EnumDetectionInfo(list, &cookie, position, &info), XmlSuccess);
    EXPECT_EQ(info.LangID + info.EngineFile + info.Version, "0409e.bin1.0");
    EXPECT_EQ(tarvik.EnumDetectionInfo(list, &cookie, position, &info), XmlSuccess);
    EXPECT_EQ(info.LangID + info.EngineFile + info.Version, "1.1");
    EXPECT_EQ(tarvik.EnumDetectionInfo(list, &cookie, position, &info), XmlNotFound);
    EXPECT_EQ(tarvik.GetDetectionInfo(list, &cookie, "Current", "P", "Full", &info), XmlSuccess);
    EXPECT_EQ(info.ProductVersion, "1");

    std::vector<FileListEntry> files;
    EXPECT_EQ(tarvik.GetFileList(list, &cookie, &files), XmlSuccess);
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[1].Name + files[1].Hash, "b2");
  }

  Functions tarvik;
  TempFolder folder;
  std::string name;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
};

TEST_P(LoadedLibrary, ServesAWholeSession) {
  ReadCatalog();
  std::string package = Group("ProductPackage", 1);
  EXPECT_EQ(package, "ProductPackage");
  const std::string language = Group("LangPackage", 2, package);
  EXPECT_EQ(language, "ProductPackage\\LangPackage2");
  std::array<char, 8> value{};
  EXPECT_EQ(tarvik.GetXMLItem(list, cookie, language.c_str(), "LangPackage", "ATTRIBUTE", "Version", "ATTRIBUTE",
                              value.data(), 3),
            XmlSuccess);
  EXPECT_STREQ(value.data(), "1.");

  EXPECT_EQ(tarvik.SetXMLItem(list, cookie, "Catalog\\ProductPackage", "ProductID", "ELEMENT", "R & D"), XmlSuccess);
  EXPECT_EQ(Item("ProductPackage", "ProductID", 1), "R & D");
  EXPECT_EQ(tarvik.SetXMLItem(list, cookie, "Catalog", "Status", "ATTRIBUTE", "Enabled"), XmlSuccess);
  std::uint8_t enabled = 1;
  EXPECT_EQ(tarvik.IsRepositoryEnabled(list, &cookie, &enabled, nullptr, nullptr), XmlNotFound); // no such root
  EXPECT_EQ(enabled, 0);

  const std::uint32_t before = cookie;
  EXPECT_EQ(tarvik.CloseXML(list, cookie), XmlSuccess);
  EXPECT_EQ(tarvik.OpenXMLGroup(list, cookie, "ProductPackage", package.data(), 5), XmlNotFound);
  const auto start = std::chrono::steady_clock::now();
  Open();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  EXPECT_NE(cookie, before);
  std::array<char, 20> id{};
  EXPECT_EQ(tarvik.OpenXMLGroup(list, cookie, "ProductPackage", id.data(), 20), XmlSuccess);
  EXPECT_EQ(Item(id.data(), "ProductID", 1), "R & D");

  std::string bytes = folder.Read("Catalog.xml");
  if (GetParam()) {
    ASSERT_TRUE(corekit::KCryptWrap::decrypt_data(std::string(bytes), bytes));
  }
  std::string expected = catalog;
  expected.replace(expected.find(">P<"), 3, ">R &amp; D<").insert(expected.find("Catalog") + 7, " Status=\"Enabled\"");
  EXPECT_EQ(bytes, expected);
}

INSTANTIATE_TEST_SUITE_P(PlainAndEncrypted, LoadedLibrary, testing::Bool(),
                         [](const auto& isEncrypted) { return isEncrypted.param ? "Encrypted" : "Plain"; });

TEST(LoadedLibraryLog, ReachesTheSinkOfTheProgram) {
  const Functions tarvik;
  LogLines log;
  XmlFileList* list = nullptr;
  ASSERT_EQ(tarvik.InitXMLList(&list), XmlSuccess);
  std::uint32_t cookie = 5;
  EXPECT_EQ(tarvik.OpenXML(list, "no such file", 4, 0, &cookie), XmlFileNotFound);
  EXPECT_EQ(log.Take().back(), "Failed to open no such file:  -44");
  EXPECT_EQ(cookie, 5U);
  EXPECT_EQ(tarvik.EndXMLList(&list), XmlSuccess);
}

} // namespace
