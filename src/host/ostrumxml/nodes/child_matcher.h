#ifndef TARVIK_HOST_OSTRUMXML_NODES_CHILD_MATCHER_H
#define TARVIK_HOST_OSTRUMXML_NODES_CHILD_MATCHER_H

#include <string>
#include <string_view>

#include "host/ostrumxml/nodes/child_query.h"
#include "host/ostrumxml/nodes/node.h"

namespace Ostrum {

// Tells of one child after another whether a query asks for it, whatever the query's n.
class ChildMatcher {
 public:
  // query: must outlive the matcher.
  explicit ChildMatcher(const ChildQuery& query) noexcept : query(query) {}

  // Throws std::bad_alloc.
  bool Matches(const Element& child) {
    const std::string_view name = child.GetName();
    if (!name.starts_with(query.name)) return false;
    if (query.match == NameMatch::Exact && name.size() != query.name.size()) return false;
    if (!query.Accepts(name)) return false;
    if (!query.attribute) return true;
    attribute = child.GetAttribute(*query.attribute);
    return !attribute.IsNull() && (!query.valueBegin || ValueMatches());
  }

  // The attribute of the child that matched last. REQUIRES: the query has one.
  const Attribute& MatchedAttribute() const noexcept { return attribute; }

 private:
  bool ValueMatches() {
    const std::string_view begin = *query.valueBegin;
    if (!attribute.GetValue(scratch, begin.size()).starts_with(begin)) return false;
    if (query.filter.AcceptsAll()) return true;
    // A declared default is one text for many elements, and can be long: it is judged once.
    const std::string_view value = attribute.GetValue(scratch);
    const bool isKnown = value.data() == lastValue && value.data() != scratch.data();
    if (!isKnown) lastAccepted = query.filter.Accepts(value);
    lastValue = value.data();
    return lastAccepted;
  }

  const ChildQuery& query;
  Attribute attribute;
  std::string scratch;
  const char* lastValue = nullptr;
  bool lastAccepted = false;
};

} // namespace Ostrum

#endif
