// The document that a command works on.
#ifndef TARVIK_TOOLS_DOCUMENT_H
#define TARVIK_TOOLS_DOCUMENT_H

#include <tarvik/tarvik.h>

#include <optional>

#include "commands.h"
#include "element_path.h"
#include "registry/file_list.h"

// The result of reading and parsing a file.
struct Examination {
  bool isRead = false;
  int line = 0,
      column = 0; // from 1; the column counts bytes if one is invalid, else characters; 0: unknown
  std::string reason; // empty for a well-formed file
  std::unique_ptr<Ostrum::Document> document;

  // For example ":2:6: mismatched tag", to be appended to the file's name.
  std::string Complaint() const;
};
Examination Examine(const std::string& fileName,
                    bool encrypted); // fileName: in the locale's character set
Examination Parse(std::string utf8);

// Arguments for SetXMLItem, in the locale's character set, and the item's name for messages.
struct SetCall {
  std::string path, item, value, shown;
};

// Values are read through the library's exported functions, which need a group opened for each
// level. Values that those cannot reach (the root's own text, elements whose group ID would be too
// long) are read from the document directly. Every function throws CommandError, with the file's
// name, for any failure other than "not found".
class Document {
 public:
  explicit Document(const Options& options);
  ~Document() { EndXMLList(&list); }
  Document(Document&&) = delete;

  // Arguments for the library's queries.
  XmlFileList* List() const { return list; }
  const std::uint32_t* Cookie() const { return &cookie; }
  // True for success, false for "not found"; throws for any other code.
  bool Succeeded(std::uint32_t code) const;
  void Set(const SetCall& call, const char* itemType) const;

  // Note prints a line about the file on standard error; Fail ends the command with one.
  void Note(const std::string& line) const;
  [[noreturn]] void Fail(const std::string& line, ExitStatus status = ExitStatus::Failed) const;

  Ostrum::Document& Tree() const { return *record->document; }

  // The value of the attribute, or the element's text if attribute is empty. Nothing if there is no
  // such attribute.
  std::optional<std::string> Read(const Place& place, const std::string& attribute) const;

  // The library's group ID of a child, in the locale's character set; parent is the parent's ID (""
  // for the root). occurrence: the child's number among the names that begin with its name; 0: use
  // its number among all children. Nothing if parent is nothing, if the ID leads to another
  // element, or if it would be too long.
  using GroupId = std::optional<std::string>;
  GroupId OpenChild(const GroupId& parent, const Step& step, std::uint32_t occurrence) const;

 private:
  static constexpr std::size_t GroupIdCapacity = 260;
  GroupId Open(const Place& place, std::size_t steps) const;

  std::string file;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  XmlFileRecord* record = nullptr;
  std::string rootName; // in the locale's character set, as the library expects it
};

#endif
