#include "catalog.h"

#include <random>

namespace {

class CatalogWriter {
 public:
  CatalogWriter() {
    text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!-- Packages of the repository. -->\n"
        "<Catalog Version=\"20240117093000\">\n";
  }

  void AddPackage(std::uint32_t filesOfFirst, std::uint32_t files) {
    ++package;
    text += "  <ProductPackage>\n";
    AddElement(4, "ProductID", "PRODUCT_" + std::to_string(1000 + package));
    AddElement(4, "ProductName",
               "Workstation protection &amp; control, edition " + std::to_string(package));
    AddDetection("Current", "8.0." + std::to_string(package));
    AddDetection("Previous", "7.5." + std::to_string(package));
    AddLanguage("Current", "0409", filesOfFirst);
    AddLanguage("Current", "0407", files);
    AddLanguage("Previous", "0409", files);
    text += "  </ProductPackage>\n";
  }

  std::size_t Size() const { return text.size(); }
  std::string Finish() { return std::move(text += "</Catalog>\n"); }

 private:
  void AddElement(std::size_t indent, const char* name, const std::string& value) {
    text.append(indent, ' ')
        .append("<")
        .append(name)
        .append(">")
        .append(value)
        .append("</")
        .append(name)
        .append(">\n");
  }

  void AddDetection(const char* branch, const std::string& version) {
    text.append("    <ProductDetection Branch=\"").append(branch).append("\">\n");
    AddElement(6, "ProductVersion", version);
    AddElement(6, "PlatformID", "WNTW:10:0:4|WNTS:10:0:4");
    text += "    </ProductDetection>\n";
  }

  void AddLanguage(const char* branch, const char* language, std::uint32_t files) {
    text.append("    <LangPackage Branch=\"").append(branch).append("\" Version=\"8.0.0.");
    text.append(std::to_string(package)).append("\">\n");
    AddElement(6, "LangID", language);
    AddElement(6, "PackageType", package % 4 == 0 ? "Update" : "Install");
    text += "      <ExtraSettings>\n";
    AddSetting("RebootRequired", "0");
    AddSetting("MinimumDATVersion", std::to_string(4000 + package));
    AddSetting("EngineFile", "engine" + std::to_string(package) + ".bin");
    text += "      </ExtraSettings>\n      <FileList>\n";
    for (std::uint32_t file = 1; file <= files; ++file) AddFile(language, file);
    text += "      </FileList>\n    </LangPackage>\n";
  }

  void AddSetting(const char* name, const std::string& value) {
    text.append("        <Setting Name=\"")
        .append(name)
        .append("\">")
        .append(value)
        .append("</Setting>\n");
  }

  void AddFile(const char* language, std::uint32_t file) {
    text += "        <FileItem>\n";
    AddElement(10, "Name", "module_" + std::to_string(file) + "_" + language + ".cab");
    AddElement(10, "Hash", Hash());
    text += "        </FileItem>\n";
  }

  std::string Hash() {
    std::string digits(40, '0');
    for (char& digit : digits) digit = "0123456789abcdef"[(random() >> 8) % 16];
    return digits;
  }

  std::string text;
  std::uint32_t package = 0;
  std::minstd_rand random; // the standard says what it gives
};

} // namespace

std::string MakeCatalog(const CatalogShape& shape) {
  CatalogWriter writer;
  for (std::uint32_t package = 0; package < shape.packages; ++package) {
    writer.AddPackage(package == 0 ? shape.filesOfFirst : shape.files, shape.files);
  }
  return writer.Finish();
}

std::string MakeCatalogOfSize(std::size_t bytes) {
  const CatalogShape shape{};
  CatalogWriter writer;
  while (writer.Size() < bytes) writer.AddPackage(shape.filesOfFirst, shape.files);
  return writer.Finish();
}
