// The commands that run the library's queries.
#include <corekit/corekit.h>
#include <tarvik/tarvik.h>

#include <memory>
#include <optional>

#include "commands.h"
#include "host/ostrumxml/data/utf8.h"
#include "input.h"
#include "json.h"
#include "output.h"
#include "system.h"

namespace {

// True for success, false for "not found"; throws for any other code.
bool Succeeded(std::uint32_t code) {
  if (code == XmlOutOfMemory) throw std::bad_alloc();
  if (code != XmlSuccess && code != XmlNotFound)
    throw CommandError("the library failed (result code " + std::to_string(code) + ")");
  return code == XmlSuccess;
}

// FILE, opened by the library.
class OpenFile {
 public:
  // byName: even if the name is not UTF-8, or if it is a pipe's, which the library refuses.
  explicit OpenFile(const Options& options, bool byName = false) {
    XmlFileList* created = nullptr;
    Succeeded(InitXMLList(&created));
    list.reset(created);
    const bool hasUtf8Name = options.file == options.shownFile;
    const bool opensByName = byName || (hasUtf8Name && !IsStream(options.file));
    std::string bytes;
    if (!opensByName) bytes = ReadBytes(options.file);
    if (!opensByName) copy.emplace(bytes);
    const std::string& name = opensByName ? options.file : copy->Name();
    const std::uint32_t code =
        OpenXML(created, name.c_str(), XmlOpenAtOnce, options.encrypted ? 1 : 0, &cookie);
    if (code == XmlSuccess) return;
    if (opensByName) bytes = ReadBytes(options.file);
    Parse(Decode(std::move(bytes), options).utf8); // throws the reason
    throw CommandError("cannot be opened (result code " + std::to_string(code) + ")");
  }

  XmlFileList* List() const { return list.get(); }
  const std::uint32_t* Cookie() const { return &cookie; }

 private:
  struct End {
    void operator()(XmlFileList* ended) const { EndXMLList(&ended); }
  };
  std::optional<console::MemoryFile> copy;
  std::unique_ptr<XmlFileList, End> list;
  std::uint32_t cookie = 0;
};

std::vector<DetectionInfo> WalkCatalog(const OpenFile& file) {
  std::vector<DetectionInfo> pairs;
  DetectionPosition position = {1, 1, 1};
  for (DetectionInfo info;; pairs.push_back(info)) {
    const auto code = EnumDetectionInfo(file.List(), file.Cookie(), position, &info);
    // Both a pair without Version and the end give "not found", but only the end leaves the last
    // position at 1.
    if (!Succeeded(code) && position[2] == 1) return pairs;
  }
}

std::vector<DetectionInfo> FindOne(const OpenFile& file, const std::vector<std::string>& key) {
  DetectionInfo info;
  const auto code = GetDetectionInfo(file.List(), file.Cookie(), key[1].c_str(), key[0].c_str(),
                                     key[2].c_str(), &info);
  // A match without Version also gives "not found", but with the other fields filled.
  if (!Succeeded(code) && info.ProductID.empty()) return {};
  return {info};
}

// The queries cut texts to 259 bytes, which can split a character.
std::string WithoutPart(std::string text) {
  text.resize(Ostrum::ValidUtf8Prefix(text));
  return text;
}

// Prints the rows, and a note if the queries may have cut a text.
ExitStatus PrintRows(const Options& options, const Row& names, const std::vector<Row>& rows) {
  constexpr std::size_t certainlyWhole = 255;
  bool isCut = false;
  std::vector<std::string> objects;
  if (!options.json && !rows.empty()) PrintHeader(names);
  for (const Row& row : rows) {
    std::string members;
    for (std::size_t i = 0; i < row.size(); ++i) {
      isCut = isCut || row[i].size() > certainlyWhole;
      if (options.json) members += (i > 0 ? ", " : "") + JsonMember(names[i], row[i]);
    }
    if (options.json) objects.push_back('{' + members + '}');
    if (!options.json) Print(RowText(row));
  }
  if (options.json) PrintJson(objects, "[]");
  if (isCut) {
    PrintMessage(
        AfterFile(options.shownFile, "a text may be cut: the queries read 259 bytes of each"));
  }
  return rows.empty() ? ExitStatus::NothingFound : ExitStatus::Found;
}

void Note(const Options& options, const std::string& line) {
  PrintMessage(AfterFile(options.shownFile, line));
}

} // namespace

ExitStatus Status(const Options& options) {
  corekit::SetUtf8(true);
  const OpenFile file(options);
  std::uint8_t enabled = 0;
  if (!Succeeded(IsRepositoryEnabled(file.List(), file.Cookie(), &enabled, nullptr, nullptr))) {
    if (options.json) PrintJson({"\"enabled\": null", "\"catalogVersion\": null"});
    Note(options, "the root is not a SiteStatus element with the attribute Status");
    return ExitStatus::NothingFound;
  }
  std::string version(65536, '\0');
  const auto capacity = static_cast<std::uint32_t>(version.size());
  const bool hasVersion = Succeeded(
      IsRepositoryEnabled(file.List(), file.Cookie(), &enabled, version.data(), &capacity));
  version.resize(hasVersion ? version.find('\0') : 0);
  if (options.json) {
    PrintJson({std::string("\"enabled\": ") + (enabled == 1 ? "true" : "false"),
               "\"catalogVersion\": " + (hasVersion ? JsonText(version) : "null")});
    return ExitStatus::Found;
  }
  PrintGood(enabled == 1 ? "enabled" : "disabled", enabled == 1);
  if (hasVersion) Print(version);
  return ExitStatus::Found;
}

ExitStatus Detect(const Options& options) {
  const std::vector<std::string>& key = options.arguments;
  if (key.size() % 3 != 0) throw UsageError("PRODUCT, BRANCH and TYPE go together");
  corekit::SetUtf8(true);
  const OpenFile file(options);
  std::vector<Row> rows;
  for (const auto& info : key.empty() ? WalkCatalog(file) : FindOne(file, key)) {
    Row& row = rows.emplace_back();
    for (const auto* field :
         {&info.ProductID, &info.Branch, &info.PackageType, &info.LangID, &info.Version,
          &info.ProductVersion, &info.PlatformID, &info.MinimumDATVersion, &info.EngineFile}) {
      row.push_back(WithoutPart(*field));
    }
  }
  const Row names{"ProductID",      "Branch",     "PackageType",       "LangID",    "Version",
                  "ProductVersion", "PlatformID", "MinimumDATVersion", "EngineFile"};
  if (rows.empty()) Note(options, "no such detection entry with a language package of its branch");
  return PrintRows(options, names, rows);
}

ExitStatus Files(const Options& options) {
  corekit::SetUtf8(true);
  const OpenFile file(options);
  std::vector<FileListEntry> files;
  const bool isWhole = Succeeded(GetFileList(file.List(), file.Cookie(), &files));
  std::vector<Row> rows;
  rows.reserve(files.size());
  for (const auto& [name, hash] : files) rows.push_back({WithoutPart(name), WithoutPart(hash)});
  if (rows.empty()) Note(options, "no file with Name and Hash in the first language package");
  const ExitStatus status = PrintRows(options, {"name", "hash"}, rows);
  if (isWhole || rows.empty()) return status;
  FlushOutput();
  throw CommandError("the entry after " + rows.back().front() + " lacks its Name or Hash");
}

ExitStatus Match(const Options& options) {
  if (options.file == "-") throw UsageError("FILE: standard input has no name");
  // The name that the library compares is the one by which it opens, in user text.
  corekit::SetUtf8(console::IsUtf8());
  const OpenFile file(options, true);
  const std::string name = console::FromUtf8(options.arguments.front()).value();
  std::uint32_t matches = 0;
  Succeeded(MatchXmlListToFileName(file.List(), *file.Cookie(), name.c_str(), &matches));
  if (options.json) {
    PrintJson({std::string("\"matches\": ") + (matches == 1 ? "true" : "false")});
  } else {
    Print(matches == 1 ? "yes" : "no");
  }
  return matches == 1 ? ExitStatus::Found : ExitStatus::NothingFound;
}
