// The tree of groups below a group, with their names, which no public function hands out.
#ifndef TARVIK_TOOLS_GROUP_TREE_H
#define TARVIK_TOOLS_GROUP_TREE_H

#include <functional>
#include <string>
#include <vector>

#include "document.h"
#include "group_path.h"

// The group path "&" names every child element whatever its name, so the tree is walked by such IDs ("&2\&5"), called handles
// here. A name is then found out by asking: whether the element has a name met before, else letter by letter, since a path
// matches every name that begins with it.
class GroupTree {
 public:
  // visit receives the group ID of each element, in document order, an element before those within it.
  using Visitor = std::function<void(const std::string& groupId)>;
  GroupTree(const Document& openDocument, Visitor visitor) : document(openDocument), visit(std::move(visitor)) {}

  // Visits the elements below from (its ID empty: the root), down to depth levels (0: all the way).
  void Walk(const FoundGroup& from, std::uint32_t depth);

  // True when there was more than group IDs, which end at 259 bytes, can name.
  bool WasCut() const { return wasCut; }

 private:
  void WalkBelow(const std::string& handle, const std::string& groupId, std::uint32_t levels);
  bool HasName(const std::string& handle, const std::string& name) const;
  std::string NameOf(const std::string& parent, const std::string& child);
  bool SpellOut(const std::string& start, const std::string& child, std::string& name);
  bool BeginsSome(const std::string& start, const std::string& letters);

  const Document& document;
  Visitor visit;
  FoundGroup top;
  std::string root; // the root's name once it is known
  std::vector<std::string> knownNames;
  bool wasCut = false;
};

#endif
