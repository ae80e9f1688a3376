// Tarvik for C++17: documents and groups as objects, on top of the functions in tarvik.h.
//
//   tarvik::Document document("catalog.xml", "Catalog");
//   for (const tarvik::Group& package : document.Groups("ProductPackage"))
//     std::cout << package.Get("ProductID").value_or("?") << '\n';
//   document.Set("", "Published", "20240918.1");
//
// What holds for everything here:
//
//  1. A value comes whole, however long it is. What is not there is an empty std::optional or the
//     end of a range; every other failure throws Error.
//  2. Paths are those of tarvik.h: element names separated by "\", each matching every name that
//     begins with it. A document's path may begin with the root's name, whole and followed by "\";
//     a group's path never does. An empty path is the element itself.
//  3. Names of items are exact.
//  4. A group, a range and its iterators hold everything they need except the document, which must
//     outlive them. The document may be moved.
//  5. Text is in the locale's character set, or UTF-8 after corekit::SetUtf8(true).
//  6. A document and its groups may be used by one thread at a time.
#ifndef TARVIK_TARVIK_HPP
#define TARVIK_TARVIK_HPP

#include <tarvik/tarvik.h>

#include <charconv>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tarvik {

class Error : public std::runtime_error {
 public:
  // what() names the file or item and gives the reason, by default the meaning of the code.
  Error(std::uint32_t result, const std::string& subject, const char* reason = nullptr)
      : std::runtime_error(subject + ": " + (reason ? reason : Meaning(result))), code(result) {}

  // One of XmlResult, never XmlSuccess; XmlFailure for what this header itself refuses.
  std::uint32_t Code() const noexcept { return code; }

 private:
  static const char* Meaning(std::uint32_t result) {
    if (result == XmlOutOfMemory) return "not well-formed XML, or out of memory";
    if (result == XmlNotFound) return "not found";
    if (result == XmlFileNotFound) return "no such file";
    if (result == XmlFileUnreadable) return "the file can't be read";
    if (result == XmlFileNotText) return "invalid in its encoding, or refused by the cipher";
    return "refused or failed (the log gives the reason)";
  }

  std::uint32_t code;
};

namespace detail {

// The functions would end the text at its first zero byte.
inline const char* Checked(const std::string& text) {
  if (text.find('\0') < text.size()) throw Error(XmlFailure, text.c_str(), "contains a zero byte");
  return text.c_str();
}

template <class T>
std::optional<T> Parse(const std::optional<std::string>& text, const std::string& item) {
  static_assert(!std::is_same_v<T, char>, "a character is neither a string nor a number");
  if constexpr (std::is_same_v<T, std::string>) {
    return text;
  } else if (!text) {
    return std::nullopt;
  } else if constexpr (std::is_same_v<T, bool>) {
    if (*text == "true" || *text == "1") return true;
    if (*text == "false" || *text == "0") return false;
  } else {
    T number{};
    const char* const end = text->data() + text->size();
    const auto [rest, error] = std::from_chars(text->data(), end, number);
    if (error == std::errc() && rest == end) return number;
  }
  throw Error(XmlFailure, item + " = \"" + *text + '"', "not a value of the type asked for");
}

template <class T>
std::string Format(const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value ? "true" : "false";
  } else if constexpr (std::is_arithmetic_v<T>) {
    static_assert(!std::is_same_v<T, char>, "a character is neither a string nor a number");
    char digits[64];
    return std::string(digits, std::to_chars(digits, std::end(digits), value).ptr);
  } else {
    return std::string(std::string_view(value));
  }
}

// What a function gives for 1, 2, 3, ... until it gives nothing.
template <class T>
struct Range {
  using Next = std::function<std::optional<T>(std::uint32_t)>;

  struct Iterator {
    using iterator_category = std::input_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = const T*;
    using reference = const T&;

    Iterator() = default; // the end
    explicit Iterator(Next function) : next(std::move(function)) { ++*this; }

    reference operator*() const { return *current; }
    pointer operator->() const { return &*current; }
    Iterator& operator++() {
      current = next(++number);
      if (!current) number = 0;
      return *this;
    }
    Iterator operator++(int) { return std::exchange(*this, ++Iterator(*this)); }
    bool operator==(const Iterator& other) const { return number == other.number; }
    bool operator!=(const Iterator& other) const { return number != other.number; }

    Next next;
    std::uint32_t number = 0; // counted from 1; 0 at the end
    std::optional<T> current;
  };

  Iterator begin() const { return Iterator(next); }
  Iterator end() const { return Iterator(); }

  Next next;
};

} // namespace detail

// An element: the root or a group.
class Group {
 public:
  // What the functions read this group's items by; the root's name for the root. Not a path to
  // write to.
  const std::string& Id() const noexcept { return id.empty() ? root : id; }

  // The text of the first child of that name. A number, in the form of std::from_chars, or bool
  // ("true", "1", "false", "0") must be the whole text; otherwise throws Error.
  template <class T = std::string>
  std::optional<T> Get(const std::string& item) const {
    return detail::Parse<T>(Read(item, nullptr, 1), Shown(item));
  }
  // An attribute of the first child of that name that has it; of this element itself if item is its
  // own name.
  template <class T = std::string>
  std::optional<T> Get(const std::string& item, const std::string& attribute) const {
    return detail::Parse<T>(Read(item, attribute.c_str(), 1), Shown(item + '&' + attribute));
  }
  // A range of the texts (std::string) of all children of that name.
  auto Items(const std::string& item) const {
    return detail::Range<std::string>{
        [from = *this, item](std::int32_t n) { return from.Read(item, nullptr, n); }};
  }
  // The first element that the path names below this one. A path that was opened before gives the
  // same element again, even if an attribute that its filter asked for has been set meanwhile.
  std::optional<Group> OpenGroup(const std::string& path) const { return Open(path, 1); }
  // A range of all elements (Group) that the path's last name matches, in document order; only the
  // first if that name has a filter ("&attribute=value").
  auto Groups(const std::string& path) const {
    return detail::Range<Group>{
        [from = *this, path](std::uint32_t n) { return from.Open(path, n); }};
  }

 private:
  friend class Document;

  static constexpr std::size_t maxId = 259;

  Group(XmlFileList* opened, std::uint32_t number, std::string rootName)
      : list(opened), cookie(number), root(std::move(rootName)) {}

  // An item as errors show it.
  std::string Shown(const std::string& of) const { return detail::Checked(Id() + '\\' + of); }

  // The path without the root's name, which only a path that begins at the root may have.
  std::string Below(std::string path) const {
    if (id.empty() && (path + '\\').rfind(root + '\\', 0) == 0) path.erase(0, root.size() + 1);
    return path;
  }

  // The text of the index-th child of that name (from 1), or the attribute unless null.
  std::optional<std::string> Read(const std::string& item, const char* attribute,
                                  std::int32_t index) const {
    const char* const type = attribute == nullptr ? "ELEMENT" : "ATTRIBUTE";
    const std::string path = id.empty() ? root : root + '\\' + id;
    std::string value;
    for (std::uint32_t capacity = 512; capacity != 0; capacity *= 4) {
      value.resize(capacity);
      const auto code = EnumXMLItem(list, cookie, path.c_str(), detail::Checked(item), type, index,
                                    attribute, type, value.data(), capacity);
      if (code == XmlNotFound) return std::nullopt;
      if (code != XmlSuccess) throw Error(code, Shown(item));
      value.resize(std::strlen(value.c_str()));
      if (value.size() < capacity - 1) return value; // otherwise it may be truncated
    }
    throw Error(XmlOutOfMemory, Shown(item));
  }

  // The n-th match (from 1) of a path below this element.
  std::optional<Group> Find(const std::string& path, std::uint32_t n) const {
    Group found = *this;
    found.id.resize(maxId); // in: this ID; out: the other's
    const std::string whole = root + '\\' + path;
    const auto code =
        EnumXMLGroup(list, cookie, detail::Checked(whole), n, found.id.data(), maxId + 1);
    if (code == XmlNotFound) return std::nullopt;
    if (code != XmlSuccess) throw Error(code, Shown(path));
    found.id.resize(std::strlen(found.id.c_str()));
    return found;
  }

  // The n-th match of a path. A filter has the same match for every n. In an element without
  // children, a path that begins its name would find the element itself; only below a child that it
  // finds does a further "\" find anything.
  std::optional<Group> Open(const std::string& given, std::uint32_t n) const {
    const std::string path = Below(given);
    if (path.empty() && n > 1) return std::nullopt;
    if (path.empty()) return *this;
    if (id.size() + path.size() + std::strlen("\\&4294967295") > maxId) // would be truncated
      throw Error(XmlFailure, Shown(path), "the path is too long");
    if (n == 1 && !Find(path + '\\', 1)) return std::nullopt;
    if (n == 2 && Find(path, 0x7FFFFFFF)) return std::nullopt;
    // The "&" changes nothing but the ID: else the second Item1 and the twelfth Item shared theirs,
    // and the root and a child of its name.
    const bool isIdTaken = n > 1 || (id.empty() && path == root);
    return Find(isIdTaken ? path + '&' : path, n);
  }

  XmlFileList* list;
  std::uint32_t cookie;
  std::string root; // the root's name
  std::string id;   // empty for the root
};

// An open document, in a list of its own. Can be moved, not copied.
class Document {
 public:
  // Opens the file without the functions' wait; encrypted: through corekit's cipher. Throws Error
  // if it can't be opened or its root element is not named rootName.
  Document(const std::string& file, const std::string& rootName, bool encrypted = false) {
    XmlFileList* opened = nullptr;
    if (InitXMLList(&opened) != XmlSuccess) throw Error(XmlOutOfMemory, file);
    list.reset(opened, [](XmlFileList* closed) { EndXMLList(&closed); });
    const auto code = OpenXML(opened, detail::Checked(file), XmlOpenAtOnce, encrypted, &cookie);
    if (code != XmlSuccess) throw Error(code, file);
    if (!BeginsWithRoot(rootName) || BeginsWithRoot(rootName.substr(0, rootName.size() - 1)))
      throw Error(XmlNotFound, file, ("the root is not named " + rootName).c_str());
    root.reset(new Group(opened, cookie, rootName));
  }

  const Group& Root() const noexcept { return *root; }

  // As those of the root.
  template <class T = std::string, class... Names>
  std::optional<T> Get(const Names&... itemAndAttribute) const {
    return root->Get<T>(itemAndAttribute...);
  }
  auto Items(const std::string& item) const { return root->Items(item); }
  std::optional<Group> OpenGroup(const std::string& path) const { return root->OpenGroup(path); }
  auto Groups(const std::string& path) const { return root->Groups(path); }

  // Both write to the first element that the path names, where "Time" names Timeout if that comes
  // first; "&attribute=value" writes an attribute there instead of choosing. They create what is
  // missing and save the file. value: a string, a number or bool. The functions can't write to an
  // enumerated group, so its ID is refused; nor keep a new child of the root apart from a root of
  // the same name, so that is refused, too.
  // Set writes the text of the child item there, likewise the first whose name begins so.
  template <class T>
  void Set(const std::string& path, const std::string& item, const T& value) {
    Write(path, item, "ELEMENT", detail::Format(value));
  }
  // Writes an attribute of the element at path. Throws Error for an empty name or value, which the
  // functions ignore.
  template <class T>
  void SetAttribute(const std::string& path, const std::string& name, const T& value) {
    const std::string text = detail::Format(value);
    if (name.empty() || text.empty()) throw Error(XmlFailure, path + '&' + name, "is empty");
    Write(path, name, "ATTRIBUTE", text);
  }

  // For the functions. The list is closed by this object.
  XmlFileList* List() const noexcept { return list.get(); }
  std::uint32_t Cookie() const noexcept { return cookie; }

 private:
  // A path that begins with the root's name opens nothing and comes back unchanged. Others may open
  // a group; the "&" gives it the ID that a range over it gives.
  bool BeginsWithRoot(const std::string& name) const {
    char id[Group::maxId + 2] = ""; // for the longest name and the "&"
    const std::string path = name + '&';
    EnumXMLGroup(List(), cookie, detail::Checked(path), 2, id, sizeof id);
    return path == id; // no other answer ends in "&"
  }

  void Write(const std::string& path, const std::string& item, const char* type,
             const std::string& value) {
    const std::string rest = root->Below(path);
    for (auto at = rest.find('&'); at < rest.size(); at = rest.find('&', rest.find('\\', at))) {
      const auto end = rest.find_first_not_of("0123456789", at + 1);
      if (end > at + 1 && (end > rest.size() || rest[end] == '\\'))
        throw Error(XmlFailure, path, "the ID of an enumerated group is not a path to write to");
    }
    const std::string whole = root->root + (rest.empty() ? "" : '\\' + rest);
    std::string firstName = rest;
    if (rest.empty() && std::strcmp(type, "ELEMENT") == 0) firstName = item;
    firstName = firstName.substr(0, firstName.find_first_of("\\&"));
    if (firstName == root->root && !root->Find(firstName + '&', 1)) // it would be created
      throw Error(XmlFailure, whole, "a new child of the root's name would take the root's ID");
    const auto code = SetXMLItem(List(), cookie, detail::Checked(whole), detail::Checked(item),
                                 type, detail::Checked(value));
    if (code != XmlSuccess) throw Error(code, whole + '\\' + item);
  }

  std::shared_ptr<XmlFileList> list; // never shared
  std::uint32_t cookie = 0;
  std::unique_ptr<const Group> root; // stays where it is when the document is moved
};

} // namespace tarvik

#endif
