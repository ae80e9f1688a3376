#ifndef TARVIK_HOST_OSTRUMXML_NAME_H
#define TARVIK_HOST_OSTRUMXML_NAME_H

#include <array>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace Ostrum {

struct Content;

// A name of a document, held once: equal names are the same object. It also leads from an element to its document.
class Name {
 public:
  Name(Content& owner, std::string_view utf8) noexcept;

  Content& Owner() const noexcept { return *owner; }
  std::string_view Utf8() const noexcept { return utf8; }
  bool IsAscii() const noexcept { return ascii; }
  // Made when it is first asked for, since most names of most documents never are.
  const std::wstring& Wide() const;

 private:
  Content* owner;
  std::string_view utf8; // in the document's source or its arena
  bool ascii;
  mutable std::unique_ptr<const std::wstring> wide;
};

// The names of one document.
class NameTable {
 public:
  // The name with that text, or null.
  const Name* Find(std::string_view utf8) noexcept;
  // Enters a name that is not there yet. REQUIRES: utf8 lives as long as the table.
  const Name& Insert(Content& owner, std::string_view utf8);

 private:
  // An ordered map can't be driven into its worst case by hostile names. In front of it stand the names seen last, since a
  // document has few and repeats them: most look-ups while a document is opened end there.
  std::map<std::string_view, Name> names;
  std::array<const Name*, 64> recent{};
};

} // namespace Ostrum

#endif
