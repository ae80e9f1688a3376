// One open document for the length of a command.
#ifndef TARVIK_TOOLS_DOCUMENT_H
#define TARVIK_TOOLS_DOCUMENT_H

#include <tarvik/tarvik.h>

#include <optional>
#include <string>

#include "element_path.h"
#include "log_lines.h"
#include "options.h"
#include "xml_tree.h"

struct XmlFileRecord;

// The file as a command names it: itself, or what came through standard input, kept for as long as this lives.
class InputFile {
 public:
  explicit InputFile(const std::string& file);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  const std::string& Name() const { return name; }
  // As messages name it.
  std::string Shown() const { return isTemporary ? "standard input" : name; }

 private:
  std::string name;
  bool isTemporary;
};

// Makes the options' key the cipher's, if there is one.
void UseKey(const Options& options);

// Values are read through the library's exported functions, from groups that are opened on the way. Those which they can't
// reach (the root's own text, what lies deeper than a group ID can say) come from the document itself. Every function throws
// CommandError, naming the file, when there is more amiss than a plain "not found".
class Document {
 public:
  explicit Document(const Options& options);
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // For the ready-made queries, and for setting.
  XmlFileList* List() const { return list; }
  const std::uint32_t* Cookie() const { return &cookie; }
  // True for success, false for "not found"; otherwise throws.
  bool Succeeded(std::uint32_t code) const;

  const std::string& File() const { return shownName; }
  Ostrum::Document& Tree() const;
  NameTable& Names() const { return names; }
  const ElementFinder& Finder() const { return *finder; }

  // The ID of a group that is the element, made of numbers alone so that no name can collide with it; "" for the root.
  // Nothing where the ID would be longer than the library can hold.
  using GroupId = std::optional<std::string>;
  GroupId OpenGroup(const Place& place) const;
  GroupId OpenChild(const GroupId& parent, const Step& step) const;

  std::string ReadText(const Place& place) const;
  std::string ReadText(const GroupId& parent, const Step& step) const;
  // Nothing where there is no such attribute.
  std::optional<std::string> ReadAttribute(const Place& place, const std::string& attribute) const;

  // The library's own ID of the child, in which a number counts the names that begin like the child's. Nothing where that ID
  // is another element's, or too long.
  GroupId LibraryId(const GroupId& parent, const Step& step, std::uint32_t occurrence) const;

 private:
  std::string ReadPath(const std::string& groupId) const { return groupId.empty() ? rootName : groupId; }
  GroupId Open(const std::string& parentId, const std::string& groupPath, std::uint32_t occurrence,
               const Ostrum::Element& wanted) const;
  std::optional<std::string> Read(const std::string& path, const std::string& item, std::uint32_t index,
                                  const char* attribute) const;
  std::string RequireForm(std::optional<std::string> text, const std::string& name) const;

  std::string shownName;
  LogLines log;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  XmlFileRecord* record = nullptr;
  mutable NameTable names;
  std::optional<ElementFinder> finder;
  std::string rootName;
};

#endif
