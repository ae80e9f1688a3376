// One open document for the length of a command.
#ifndef TARVIK_TOOLS_DOCUMENT_H
#define TARVIK_TOOLS_DOCUMENT_H

#include <tarvik/tarvik.h>

#include <optional>

#include "commands.h"
#include "element_path.h"
#include "registry/file_list.h"

// What became of an attempt to read and parse a file.
struct Examination {
  bool isRead = false;
  int line = 0, column = 0; // from 1, bytes in front of one that is invalid, else characters; 0 if not known
  std::string reason;       // empty for a well-formed file
  std::unique_ptr<Ostrum::Document> document;

  // ":2:6: mismatched tag", to follow the name of the file.
  std::string Complaint() const;
};
Examination Examine(const std::string& fileName, bool encrypted); // in the locale's character set
Examination Parse(std::string utf8);

// What SetXMLItem is to be called with, in the locale's character set, and how a person calls the item.
struct SetCall {
  std::string path, item, value, shown;
};

// Values are read through the library's exported functions, from groups that are opened on the way. Those which they can't
// reach (the root's own text, what lies deeper than a group ID can say) come from the document itself. Every function throws
// CommandError, naming the file, when there is more amiss than a plain "not found".
class Document {
 public:
  explicit Document(const Options& options);
  ~Document() { EndXMLList(&list); }
  Document(Document&&) = delete;

  // For the ready-made queries.
  XmlFileList* List() const { return list; }
  const std::uint32_t* Cookie() const { return &cookie; }
  // True for success, false for "not found"; otherwise throws.
  bool Succeeded(std::uint32_t code) const;
  void Set(const SetCall& call, const char* itemType) const;

  // A line on standard error about the file; one that is the last.
  void Note(const std::string& line) const;
  [[noreturn]] void Fail(const std::string& line, ExitStatus status = ExitStatus::Failed) const;

  Ostrum::Document& Tree() const { return *record->document; }

  // The element's text, or its attribute; nothing where it has no such attribute.
  std::optional<std::string> Read(const Place& place, const std::string& attribute) const;

  // The library's ID of a child's group, below that of its parent ("" for the root), in the locale's character set. Its number
  // counts the names that begin like the child's or, at occurrence 0, all. Nothing where there is none of the parent, it is
  // another element's, or too long.
  using GroupId = std::optional<std::string>;
  GroupId OpenChild(const GroupId& parent, const Step& step, std::uint32_t occurrence) const;

 private:
  static constexpr std::size_t GroupIdCapacity = 260;
  GroupId Open(const Place& place, std::size_t steps) const;

  std::string file;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  XmlFileRecord* record = nullptr;
  std::string rootName; // as all that the library is given, in the locale's character set
};

#endif
