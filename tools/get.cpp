#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "commands.h"
#include "document.h"
#include "group_path.h"
#include "output.h"
#include "text.h"

namespace {

// Reads the n-th of the items that were asked for.
using Reader = std::function<std::optional<std::string>(std::int32_t index)>;

// The texts of the children that pass the item's attribute filter, as path components do: by the beginning of the value.
Reader FilteredTexts(const Document& document, const std::string& path, const FilteredName& item) {
  return [&document, path, item](std::int32_t wanted) -> std::optional<std::string> {
    for (std::int32_t i = 1; const auto value = document.ReadAttribute(path, item.name, i, item.attribute); ++i) {
      const bool passes = value->starts_with(item.value);
      if (passes && --wanted == 0) return document.ReadTextBesideAttribute(path, item.name, i, item.attribute);
    }
    return std::nullopt;
  };
}

Reader Texts(const Document& document, const std::string& path, const std::string& item) {
  const FilteredName filtered = SplitFilter(item);
  if (!filtered.attribute.empty()) return FilteredTexts(document, path, filtered);
  return [&document, path, name = filtered.name](std::int32_t i) { return document.ReadText(path, name, i); };
}

Reader Attributes(const Document& document, const FoundGroup& group, const Options& options) {
  const std::string item = options.item.empty() ? group.ownName : options.item;
  return [&document, path = group.ReadPath(), item, attribute = options.attribute](std::int32_t i) {
    return document.ReadAttribute(path, item, i, attribute);
  };
}

// The index, as reading counts children, of the child that a group path with this name and occurrence names. Reading counts
// exact names, a group path every name that begins so. 0 where the child has another name.
std::int32_t ExactIndex(const Document& document, const FoundGroup& parent, const std::string& name,
                        std::uint32_t occurrence) {
  std::int32_t index = 0;
  bool isExact = false;
  for (std::uint32_t i = 1; i <= occurrence; ++i) {
    const auto child = document.OpenGroup(parent.id, parent.ReadPath(name), i);
    isExact = child && document.HasName(parent.ReadPath(*child), name);
    if (isExact) ++index;
  }
  return isExact ? index : 0;
}

// A group ID that names the item itself: "ExtraSettings\Setting2".
std::optional<std::string> TextByNumber(const Document& document, const FoundGroup& parent, const std::string& item) {
  for (const auto& [name, occurrence] : NumberedForms(item)) {
    const std::int32_t index = ExactIndex(document, parent, name, occurrence);
    if (index > 0) return document.ReadText(parent.ReadPath(), name, index);
  }
  return std::nullopt;
}

std::vector<std::string> Collect(const Reader& reader, const Options& options) {
  std::vector<std::string> values;
  for (std::int32_t i = options.all ? 1 : options.index; auto value = reader(i); ++i) {
    values.push_back(std::move(*value));
    if (!options.all) break;
  }
  return values;
}

// Without an item and an attribute, the last name of the path is the item.
Options SplitItemOff(Options options) {
  const std::vector<std::string> components = Split(options.path, '\\');
  if (components.size() < 2) {
    throw CommandError(options.file + ": " + options.path + ": name an ITEM, or an attribute with --attribute");
  }
  options.item = components.back();
  options.path.resize(options.path.size() - options.item.size() - 1);
  return options;
}

std::vector<std::string> Find(const Document& document, const Options& options) {
  const auto group = FindGroup(document, options.path, options.occurrence);
  if (!group) return {};
  if (!options.attribute.empty()) return Collect(Attributes(document, *group, options), options);
  return Collect(Texts(document, group->ReadPath(), options.item), options);
}

std::vector<std::string> FindByPathAlone(const Document& document, const Options& options) {
  std::vector<std::string> values = Find(document, options);
  if (!values.empty() || options.all || options.index != 1) return values;
  const auto parent = FindGroup(document, options.path, options.occurrence);
  const auto value = parent ? TextByNumber(document, *parent, options.item) : std::nullopt;
  if (value) values.push_back(*value);
  return values;
}

void PrintValuesJson(const std::vector<std::string>& values, bool all) {
  nlohmann::ordered_json json;
  if (all) {
    json["values"] = nlohmann::ordered_json::array();
    for (const auto& value : values) json["values"].push_back(ToUtf8(value));
  } else {
    json["value"] = values.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(ToUtf8(values.front()));
  }
  PrintJson(json);
}

} // namespace

ExitStatus Get(const Options& options) {
  const bool byPathAlone = options.item.empty() && options.attribute.empty();
  const Options wanted = byPathAlone ? SplitItemOff(options) : options;
  const Document document(wanted);
  const auto values = byPathAlone ? FindByPathAlone(document, wanted) : Find(document, wanted);
  if (options.json) {
    PrintValuesJson(values, options.all);
  } else {
    for (const auto& value : values) PrintValue(value);
  }
  return values.empty() ? ExitStatus::NothingFound : ExitStatus::Found;
}
