// Decides what a set would do, on a copy of the document: whether the library would touch what was named, and nothing else.
#ifndef TARVIK_TOOLS_SET_PLAN_H
#define TARVIK_TOOLS_SET_PLAN_H

#include <memory>
#include <string>
#include <vector>

#include "document.h"

class SetPlan {
 public:
  // What SetXMLItem is to be called with, and how a person calls the item.
  struct Call {
    std::string path, item;
    bool isAttribute;
    std::string value;
    std::string shownPath;
  };

  // With existing, nothing that is missing is made.
  SetPlan(const Document& openDocument, bool existing);

  // Sets an item in the copy. Throws CommandError where the library would not set the element that was named, or XML can't
  // carry what it would write; of status NothingFound where it is missing and must exist. A plan is of no use after that.
  void Add(const std::string& path, const std::string& item, bool isAttribute, const std::string& value);

  const std::vector<Call>& Calls() const { return calls; }
  const std::vector<std::string>& Made() const { return made; } // paths of elements, and of attributes
  const Ostrum::Document& Result() const { return *copy; }

 private:
  void RequireFirst(const Place& place);
  void Make(Place& place, const PathComponent& component);
  void SetAttributeAt(const Place& place, const std::string& name, const std::string& value);
  [[noreturn]] void Refuse(const std::string& path, const std::string& why) const;
  [[noreturn]] void Miss(const std::string& why) const;

  const Document& document;
  bool onlyExisting;
  std::unique_ptr<Ostrum::Document> copy;
  NameTable names;
  ElementFinder finder;
  std::vector<Call> calls;
  std::vector<std::string> made;
};

#endif
