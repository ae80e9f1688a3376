// One open document for the length of a command, over the library's public functions.
#ifndef TARVIK_TOOLS_DOCUMENT_H
#define TARVIK_TOOLS_DOCUMENT_H

#include <tarvik/tarvik.h>

#include <optional>
#include <string>

#include "log_listener.h"
#include "options.h"

// Every function throws CommandError, naming the file, when the library reports more than a plain "not found".
class Document {
 public:
  explicit Document(const Options& options);
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // For the ready-made queries.
  XmlFileList* List() const { return list; }
  const std::uint32_t* Cookie() const { return &cookie; }

  // False where the ID of a group below parentId could be longer than the library can hold.
  static bool HasRoomFor(const std::string& parentId, const std::string& groupPath);

  // The group ID of the occurrence-th element that groupPath names below the group parentId (empty: below the root).
  // Nothing where there is none, or no room for its ID.
  std::optional<std::string> OpenGroup(const std::string& parentId, const std::string& groupPath,
                                       std::uint32_t occurrence = 1) const;

  // True when groupPath names the root alone, so that it opens no group.
  bool IsRootAlone(const std::string& groupPath) const;

  // True when the element of the group has exactly this name.
  bool HasName(const std::string& groupId, const std::string& name) const;

  // The text of the index-th child named item of the element with the group ID path.
  std::optional<std::string> ReadText(const std::string& path, const std::string& item, std::int32_t index) const;

  // The attribute of that element itself when item is its own name, else of the index-th child named item that has it.
  std::optional<std::string> ReadAttribute(const std::string& path, const std::string& item, std::int32_t index,
                                           const std::string& attribute) const;

  // The text of the index-th child named item that has the attribute.
  std::optional<std::string> ReadTextBesideAttribute(const std::string& path, const std::string& item,
                                                     std::int32_t index, const std::string& attribute) const;

  // Sets the item and saves the file.
  void Set(const std::string& path, const std::string& item, bool isAttribute, const std::string& value) const;

  // True for success, false for "not found"; otherwise throws.
  bool Succeeded(std::uint32_t code) const;

 private:
  std::optional<std::string> Read(const std::string& path, const std::string& item, const char* itemType,
                                  std::int32_t index, const char* attribute, const char* valueType) const;

  std::string file;
  LogListener log;
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
};

#endif
