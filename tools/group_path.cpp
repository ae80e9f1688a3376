#include "group_path.h"

#include <charconv>

#include "text.h"

namespace {

// Walks a path name by name, so that a number can choose an element at each of them.
class NumberedWalk {
 public:
  explicit NumberedWalk(const Document& openDocument) : document(openDocument) {}

  // Enters the element that component names as it stands or, where none is, by its number.
  bool Enter(const std::string& component) {
    if (EnterAs(component, 1)) return true;
    for (const auto& [name, occurrence] : NumberedForms(component)) {
      if (EnterAs(name, occurrence)) return true;
    }
    return false;
  }

  bool EnterAs(const std::string& name, std::uint32_t occurrence) {
    if (group.id.empty() && group.root.empty() && document.IsRootAlone(name)) {
      group.root = group.ownName = name;
      return occurrence == 1;
    }
    const auto found = document.OpenGroup(group.id, group.ReadPath(name), occurrence);
    if (!found) return false;
    group.id = *found;
    group.ownName = SplitFilter(name).name;
    group.byNumber = group.byNumber || occurrence != 1;
    return true;
  }

  const FoundGroup& Group() const { return group; }

 private:
  const Document& document;
  FoundGroup group;
};

std::optional<FoundGroup> FindNumbered(const Document& document, const std::vector<std::string>& components,
                                       std::uint32_t occurrence) {
  NumberedWalk walk(document);
  for (std::size_t i = 0; i + 1 < components.size(); ++i) {
    if (!walk.Enter(components[i])) return std::nullopt;
  }
  const std::string& last = components.back();
  const bool entered = occurrence == 1 ? walk.Enter(last) : walk.EnterAs(last, occurrence);
  if (!entered) return std::nullopt;
  return walk.Group();
}

} // namespace

std::optional<FoundGroup> FindGroup(const Document& document, const std::string& path, std::uint32_t occurrence) {
  const std::vector<std::string> components = Split(path, '\\');
  const std::string lastName = SplitFilter(components.back()).name;
  if (document.IsRootAlone(path)) return FoundGroup{"", path, lastName};
  const auto found = document.OpenGroup("", path, occurrence);
  if (!found) return FindNumbered(document, components, occurrence);
  const bool lostRoot = found->compare(0, path.size(), path) != 0;
  return FoundGroup{*found, lostRoot ? components.front() : "", lastName};
}

std::vector<std::pair<std::string, std::uint32_t>> NumberedForms(const std::string& name) {
  std::vector<std::pair<std::string, std::uint32_t>> forms;
  const std::size_t firstDigit = name.find_last_not_of("0123456789") + 1;
  for (std::size_t start = firstDigit; start > 0 && start < name.size(); ++start) {
    std::uint32_t number = 0;
    const auto parsed = std::from_chars(name.data() + start, name.data() + name.size(), number);
    if (parsed.ec == std::errc() && number > 1 && name[start] != '0') forms.emplace_back(name.substr(0, start), number);
  }
  return forms;
}

FilteredName SplitFilter(const std::string& component) {
  const std::size_t filter = component.find('&');
  if (filter == std::string::npos) return {component, "", ""};
  const std::size_t equals = component.find('=', filter);
  if (equals == std::string::npos) return {component.substr(0, filter), "", ""};
  return {component.substr(0, filter), component.substr(filter + 1, equals - filter - 1), component.substr(equals + 1)};
}
