#include "items/child_search.h"

#include "text/narrow_name.h"

namespace {

using Ostrum::Element;
using Ostrum::IteratorRef;

bool RunIsNamed(const Element& first, std::uint32_t length, const char* name) {
  const NarrowName narrowName(first);
  if (narrowName.Text()) return *narrowName.Text() == name;
  for (std::uint32_t passed = 1; passed < length; ++passed) const NarrowName logsItsLine(first);
  return false;
}

// Neighbours of equal name are looked at as one run, so that their name is converted once; select chooses within a run,
// or gives null after lowering `missing` by the number of children in it that count.
template <class Select>
Element* SearchRuns(const Element& parent, const char* name, std::int32_t index, Select select) {
  IteratorRef run = parent.Begin();
  const IteratorRef end = parent.End();
  if (run == end) return nullptr;
  if (index == 0) return &*run;

  std::int64_t missing = index; // a negative one never comes to 0
  while (run != end) {
    const std::uint32_t length = run.RunLength();
    if (RunIsNamed(*run, length, name)) {
      if (Element* child = select(run, length, missing)) return child;
    }
    run.Skip(length);
  }
  return nullptr;
}

} // namespace

Element* FindChild(const Element& parent, const char* name, std::int32_t index) {
  return SearchRuns(parent, name, index, [](IteratorRef run, std::uint32_t length, std::int64_t& missing) -> Element* {
    if (missing > 0 && missing <= length) return &*run.Skip(static_cast<std::uint32_t>(missing - 1));
    missing -= length;
    return nullptr;
  });
}

Element* FindChildWithAttribute(const Element& parent, const char* name, std::int32_t index,
                                const wchar_t* attributeName) {
  const auto select = [attributeName](IteratorRef child, std::uint32_t length, std::int64_t& missing) -> Element* {
    if (attributeName == nullptr) return nullptr;
    for (; length > 0; --length, ++child) {
      if (!child->GetAttribute(attributeName).IsNull() && --missing == 0) return &*child;
    }
    return nullptr;
  };
  return SearchRuns(parent, name, index, select);
}
