#include "queries/group_search.h"

#include <algorithm>

#include "platform/platform.h"

std::uint32_t FindGroupByItemValue(const OpenDocument& document, const char* path, QueryText& group, const char* wanted,
                                   const QueryItem& item, std::uint32_t& position) {
  const QueryText parent = group;
  QueryText value;
  position = std::max(position, 1U);
  bool found = false;
  std::uint32_t code = XmlSuccess;
  while (!found && code == XmlSuccess) {
    code = document.EnumGroup(path, position, parent.Text(), group);
    if (code == XmlSuccess) {
      code = document.Read(group.Text(), item, value);
      found = code == XmlSuccess && wanted != nullptr &&
              platform::MbsCompareBytes(wanted, value.Text(), QueryText::size) == 0;
    }
    ++position;
  }
  return code;
}
