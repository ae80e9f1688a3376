// The commands that run the library's queries.
#include <corekit/corekit.h>
#include <tarvik/tarvik.h>

#include <algorithm>

#include "host/ostrumxml/data/utf8.h"
#include "input_output.h"
#include "platform/platform.h"
#include "registry/record.h"

namespace {

// True for success, false for "not found"; throws for any other code.
bool Succeeded(std::uint32_t code) {
  if (code == XmlOutOfMemory) throw std::bad_alloc();
  if (code != XmlSuccess && code != XmlNotFound)
    throw std::runtime_error("the library failed (result code " + std::to_string(code) + ")");
  return code == XmlSuccess;
}

// FILE as a document that the library's functions know. They would open a file by its name, which
// standard input does not have. The record holds the end of a name that is too long for it.
struct OpenFile {
  explicit OpenFile(const Options& options, bool isUtf8 = true) {
    corekit::SetUtf8(isUtf8);
    XmlFileRecord& record = list.files.emplace_back();
    const auto kept = std::min<std::size_t>(options.file.size(), bufferSize - 1);
    platform::MbsCopyBytes(record.fileName, options.file.c_str() + options.file.size() - kept,
                           kept);
    record.document = ReadDocument(options.file, options);
    const Ostrum::Element root = record.document->GetRoot();
    record.elementMap = std::make_unique<ElementMap>();
    record.elementMap->Insert(root.GetName(), root);
  }

  XmlFileList list;
  const std::uint32_t cookie = 0; // of a new record
};

// Those of a catalog, or the one of a product, branch and package type.
std::vector<DetectionInfo> FindDetections(OpenFile& file, const std::vector<std::string>& key) {
  DetectionInfo info;
  if (!key.empty()) {
    const auto code = GetDetectionInfo(&file.list, &file.cookie, key[1].c_str(), key[0].c_str(),
                                       key[2].c_str(), &info);
    // A match without Version also gives "not found", but with the other fields filled.
    if (!Succeeded(code) && info.ProductID.empty()) return {};
    return {info};
  }
  std::vector<DetectionInfo> pairs;
  DetectionPosition position = {1, 1, 1};
  for (;; pairs.push_back(info)) {
    const auto code = EnumDetectionInfo(&file.list, &file.cookie, position, &info);
    // Both a pair without Version and the end give "not found", but only the end leaves the last
    // position at 1.
    if (!Succeeded(code) && position[2] == 1) return pairs;
  }
}

// Prints objects. Throws NothingFound if there are none.
void PrintRows(const Options& options, Json objects, const char* whyNone) {
  constexpr std::size_t certainlyWhole = 255;
  bool isCut = false;
  for (Json& object : objects) {
    std::string row;
    for (Json& field : object) {
      auto& text = field.get_ref<std::string&>();
      isCut = isCut || text.size() > certainlyWhole;
      text.resize(Ostrum::ValidUtf8Prefix(text)); // the cut can split a character
      row += Field(text) + '\t';
    }
    row.pop_back();
    if (!options.json) Print(row);
  }
  if (options.json) PrintJson(objects);
  if (isCut) PrintMessage(options.file, "a text may be cut: the queries read 259 bytes of each");
  if (objects.empty()) throw NothingFound(whyNone);
}

} // namespace

ExitStatus Status(const Options& options) {
  OpenFile file(options);
  std::uint8_t enabled = 0;
  char version[65536] = "";
  constexpr std::uint32_t capacity = sizeof version;
  const auto ask = [&](char* buffer) {
    return Succeeded(IsRepositoryEnabled(&file.list, &file.cookie, &enabled, buffer, &capacity));
  };
  Json json = {{"enabled", nullptr}, {"catalogVersion", nullptr}};
  const bool isKnown = ask(nullptr);
  const bool hasVersion = ask(version);
  if (isKnown) json["enabled"] = enabled == 1;
  if (hasVersion) json["catalogVersion"] = version;
  if (version[capacity - 2] != '\0') PrintMessage(options.file, "the version may be cut");
  if (options.json) PrintJson(json);
  if (!isKnown)
    throw NothingFound("the root is not a SiteStatus element with the attribute Status");
  if (!options.json) Print(enabled == 1 ? "enabled" : "disabled");
  if (!options.json && hasVersion) Print(version);
  return ExitStatus::Found;
}

ExitStatus Detect(const Options& options) {
  const std::vector<std::string>& key = options.arguments;
  if (key.size() % 3 != 0) throw UsageError("PRODUCT, BRANCH and TYPE go together");
  OpenFile file(options);
  Json objects = Json::array();
  for (const DetectionInfo& info : FindDetections(file, key)) {
    objects.push_back({{"ProductID", info.ProductID},
                       {"Branch", info.Branch},
                       {"PackageType", info.PackageType},
                       {"LangID", info.LangID},
                       {"Version", info.Version},
                       {"ProductVersion", info.ProductVersion},
                       {"PlatformID", info.PlatformID},
                       {"MinimumDATVersion", info.MinimumDATVersion},
                       {"EngineFile", info.EngineFile}});
  }
  PrintRows(options, std::move(objects),
            "no such detection entry with a language package of its branch");
  return ExitStatus::Found;
}

ExitStatus Files(const Options& options) {
  OpenFile file(options);
  std::vector<FileListEntry> files;
  const bool isWhole = Succeeded(GetFileList(&file.list, &file.cookie, &files));
  Json objects = Json::array();
  for (const auto& [name, hash] : files) objects.push_back({{"name", name}, {"hash", hash}});
  PrintRows(options, std::move(objects),
            "no file with Name and Hash in the first language package");
  if (isWhole) return ExitStatus::Found;
  throw std::runtime_error("the entry after " + files.back().Name + " lacks its Name or Hash");
}

ExitStatus Match(const Options& options) {
  if (options.file == "-") throw UsageError("FILE: standard input has no name");
  // The name is compared as user text.
  OpenFile file(options, UserTextIsUtf8());
  const std::string name = FromUtf8(options.arguments.front()).value();
  std::uint32_t matches = 0;
  Succeeded(MatchXmlListToFileName(&file.list, file.cookie, name.c_str(), &matches));
  if (options.json) {
    PrintJson(Json{{"matches", matches == 1}});
  } else {
    Print(matches == 1 ? "yes" : "no");
  }
  return matches == 1 ? ExitStatus::Found : ExitStatus::NothingFound;
}
