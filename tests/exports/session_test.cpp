// A whole session over every exported function, in a program that knows the public headers alone and is linked with the
// libraries as a stranger's would be. Openings wait here, so there are few.
#include <gtest/gtest.h>

#include <chrono>

#include "corekit/corekit.h"
#include "support/system_aes.h"
#include "support/temp_folder.h"
#include "tarvik/tarvik.h"

namespace {

constexpr const char* catalog =
    "<Catalog>\n"
    "  <ProductPackage>\n"
    "    <ProductID>P</ProductID>\n"
    "    <ProductDetection Branch='Current'><ProductVersion>1</ProductVersion></ProductDetection>\n"
    "    <LangPackage Branch='Current' Version='1.0'>\n"
    "      <LangID>0409</LangID><PackageType>Full</PackageType>\n"
    "      <FileList><FileItem><Name>a</Name><Hash>1</Hash></FileItem></FileList>\n"
    "    </LangPackage>\n"
    "    <LangPackage Branch='Current' Version='1.1'/>\n"
    "  </ProductPackage>\n"
    "</Catalog>\n";

TEST(SessionTest, WorksWithEveryFunction) {
  for (const std::int32_t isEncrypted : {0, 1}) {
    if (isEncrypted != 0 && !SystemHasAes()) GTEST_SKIP() << "the system has no AES";
    std::string bytes = catalog;
    ASSERT_TRUE(isEncrypted == 0 || corekit::KCryptWrap::encrypt_data(bytes, bytes));
    const TempFolder folder;
    const std::string name = folder.Write("Catalog.xml", bytes);
    int lines = 0;
    corekit::SetLogSink([](void* to, corekit::LogKind, const wchar_t*, const wchar_t*) { ++*static_cast<int*>(to); },
                        &lines);
    XmlFileList* list = nullptr;
    std::uint32_t cookie = 0;
    ASSERT_EQ(InitXMLList(&list), XmlSuccess);
    ASSERT_EQ(OpenXML(list, name.c_str(), 4, isEncrypted, &cookie), XmlSuccess);
    EXPECT_GT(lines, 0) << "the library must log to the program's sink";
    corekit::SetLogSink(nullptr, nullptr);

    std::uint32_t matches = 0;
    EXPECT_EQ(MatchXmlListToFileName(list, cookie, "catalog.XML", &matches), XmlSuccess);
    EXPECT_EQ(matches, 1U);
    DetectionPosition position{1, 1, 1};
    DetectionInfo info;
    EXPECT_EQ(EnumDetectionInfo(list, &cookie, position, &info), XmlSuccess);
    EXPECT_EQ(EnumDetectionInfo(list, &cookie, position, &info), XmlSuccess);
    EXPECT_EQ(info.LangID + info.Version, "1.1");
    EXPECT_EQ(GetDetectionInfo(list, &cookie, "Current", "P", "Full", &info), XmlSuccess);
    EXPECT_EQ(info.ProductVersion + info.LangID, "10409");
    std::vector<FileListEntry> files;
    EXPECT_EQ(GetFileList(list, &cookie, &files), XmlSuccess);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].Name + files[0].Hash, "a1");

    char language[260] = "ProductPackage";
    EXPECT_EQ(EnumXMLGroup(list, cookie, "LangPackage", 2, language, 260), XmlSuccess);
    EXPECT_STREQ(language, "ProductPackage\\LangPackage2");
    char value[] = "#####";
    const char* const kind = "ATTRIBUTE";
    EXPECT_EQ(GetXMLItem(list, cookie, language, "LangPackage", kind, "Version", kind, value, 3), XmlSuccess);
    EXPECT_EQ(std::string(value, 5), std::string("1.\0##", 5));

    EXPECT_EQ(SetXMLItem(list, cookie, "Catalog\\ProductPackage", "ProductID", "ELEMENT", "R & D"), XmlSuccess);
    std::uint8_t enabled = 1;
    EXPECT_EQ(IsRepositoryEnabled(list, &cookie, &enabled, nullptr, nullptr), XmlNotFound);
    EXPECT_EQ(enabled, 0);
    EXPECT_EQ(CloseXML(list, cookie), XmlSuccess);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(OpenXML(list, name.c_str(), 4, isEncrypted, &cookie), XmlSuccess);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(990));
    char package[20] = "";
    EXPECT_EQ(OpenXMLGroup(list, cookie, "ProductPackage", package, sizeof package), XmlSuccess);
    EXPECT_EQ(EnumXMLItem(list, cookie, package, "ProductID", "ELEMENT", 1, nullptr, nullptr, value, 6), XmlSuccess);
    EXPECT_STREQ(value, "R & D");
    EXPECT_EQ(EndXMLList(&list), XmlSuccess);
    EXPECT_EQ(list, nullptr);

    bytes = folder.Read("Catalog.xml");
    ASSERT_TRUE(isEncrypted == 0 || corekit::KCryptWrap::decrypt_data(bytes, bytes));
    std::string expected = catalog;
    EXPECT_EQ(bytes, expected.replace(expected.find(">P<"), 3, ">R &amp; D<"));
  }
}

} // namespace
