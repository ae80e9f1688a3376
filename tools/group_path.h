// Finds the group that a person names: by a group path, or by a group ID as `list` prints it.
#ifndef TARVIK_TOOLS_GROUP_PATH_H
#define TARVIK_TOOLS_GROUP_PATH_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "document.h"

struct FoundGroup {
  std::string id;        // empty: the root
  std::string root;      // the root's name, where the path began with it
  std::string ownName;   // the last name of the path, without number and attribute filter
  bool byNumber = false; // a number in the path chose among repeated elements

  // The path by which items of a group are read. A group ID that begins with the root's name would lose it to the library;
  // with the root's name in front, that is lost instead.
  std::string ReadPath(const std::string& groupId) const { return root.empty() ? groupId : root + '\\' + groupId; }
  std::string ReadPath() const { return id.empty() ? root : ReadPath(id); }
};

// The occurrence counts the matches of the last name. A path is first taken as it stands. When it names nothing so, a number
// at the end of a name means an occurrence, as in group IDs: "ProductPackage2\LangPackage3".
std::optional<FoundGroup> FindGroup(const Document& document, const std::string& path, std::uint32_t occurrence = 1);

// The ways to read a number off the end of a name: "Item12" is the 12th "Item" or the 2nd "Item1".
std::vector<std::pair<std::string, std::uint32_t>> NumberedForms(const std::string& name);

// Splits "Setting&Name=EngineFile" into name, attribute and value; attribute and value are empty without a filter.
struct FilteredName {
  std::string name, attribute, value;
};
FilteredName SplitFilter(const std::string& component);

#endif
