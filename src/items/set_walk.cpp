#include "items/set_walk.h"

#include <new>
#include <stdexcept>
#include <utility>

#include "items/xml_text.h"
#include "paths/path_search.h"
#include "text/log.h"

using Ostrum::Attribute;
using Ostrum::Element;
using Ostrum::Value;

void SetWalk::Enter(const PathStep& step) {
  if (!key.IsEmpty()) key.Append("\\");
  key.Append(step.name);
  Element* child = FindChild(step.name);
  current = child != nullptr ? child : AddChild(step.name);
  if (step.HasAttribute()) SetAttribute(step.attributeName, step.attributeValue);
}

// Null when there is no such child. A search that failed may have missed one: it must not lead to a second.
Element* SetWalk::FindChild(const std::string& name) const {
  if (current->Begin() == current->End()) return nullptr; // the search would take the element itself
  SearchEnd end = SearchEnd::Failed;
  Element* child = FindElementByPath(current, name.c_str(), 1, &end);
  switch (end) {
    case SearchEnd::Found:
      return child;
    case SearchEnd::Missing:
      return nullptr;
    case SearchEnd::OutOfMemory:
      throw std::bad_alloc();
    case SearchEnd::Failed:
      break;
  }
  throw std::runtime_error("the search failed");
}

Element* SetWalk::AddChild(const std::string& name) {
  // The entry comes first: an element that was made, but not entered, would be found by the next set and never get its
  // key.
  key.Prepare();
  Element& child = current->AddElementInto(RequireXmlName(name.c_str()));
  if (child.IsNull()) {
    LogError(L"Failed to add element to parent node. Cannot continue");
    throw std::runtime_error("the element was refused");
  }
  key.Enter(child, true);
  return &child;
}

void SetWalk::SetAttribute(const std::string& name, const std::string& value) {
  const std::string utf8Name = RequireXmlName(name.c_str());
  const std::string utf8Value = RequireXmlText(value.c_str());
  Attribute attribute = current->GetAttribute(utf8Name);
  if (attribute.IsNull()) attribute = current->CreateAttribute(utf8Name);
  if (!attribute.IsNull()) static_cast<Value>(attribute).Set(utf8Value);

  if (key.IsEmpty()) return; // the root has its entry
  for (const std::string_view part :
       {std::string_view("&"), std::string_view(name), std::string_view("="), std::string_view(value)})
    key.Append(part);
  key.Prepare();
  key.Enter(*current, false);
}

void SetWalk::SetText(const std::string& text) { static_cast<Value>(*current).Set(text); }
