#include <nlohmann/json.hpp>

#include "commands.h"
#include "document.h"
#include "group_path.h"
#include "group_tree.h"
#include "output.h"
#include "text.h"

namespace {

// The parent's part of a group ID steps back, so that the tree shows.
std::string Highlighted(const std::string& groupId) {
  const std::string own = Split(groupId, '\\').back();
  const std::string parent = groupId.substr(0, groupId.size() - own.size());
  return parent.empty() ? own : Coloured(Stream::Output, Colour::Dim, parent) + own;
}

} // namespace

ExitStatus List(const Options& options) {
  const Document document(options);
  std::optional<FoundGroup> top = FoundGroup{};
  if (!options.path.empty()) top = FindGroup(document, options.path, options.occurrence);
  std::size_t count = 0;
  auto json = nlohmann::ordered_json::array();
  GroupTree tree(document, [&](const std::string& groupId) {
    ++count;
    if (options.json) {
      json.push_back(ToUtf8(groupId));
    } else {
      PrintValue(Highlighted(groupId));
    }
  });
  if (top) tree.Walk(*top, options.depth);
  if (options.json) PrintJson(json);
  if (tree.WasCut()) throw CommandError(options.file + ": has groups too deep for a group ID, which were left out");
  return count > 0 ? ExitStatus::Found : ExitStatus::NothingFound;
}
