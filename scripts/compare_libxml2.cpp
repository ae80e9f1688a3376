// Reads every XML file in the given folders with this library and with libxml2, compares the texts
// of all elements and attributes, sets the text of one element, compares again, and prints the
// differences:
//   compare-libxml2 <file or folder>...
// Files that break the namespace rules are only counted, because this library does not know
// namespaces.
#include <iconv.h>
#include <libxml/encoding.h>
#include <libxml/parser.h>

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "host/ostrumxml/document.h"
#include "registry/record.h"
#include "tarvik/tarvik.h"

namespace fs = std::filesystem;

namespace {

struct Entry {
  std::string name, text;
  std::vector<std::pair<std::string, std::string>> attributes;
  bool operator==(const Entry&) const = default;
};
using Tree = std::vector<Entry>; // all elements, in document order

std::string Text(const xmlChar* text) {
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

std::string FullName(const xmlNs* space, const xmlChar* name) {
  return space != nullptr && space->prefix != nullptr ? Text(space->prefix) + ":" + Text(name)
                                                      : Text(name);
}

// libxml2's side

struct Parsed {
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document{nullptr, &xmlFreeDoc};
  bool keepsNamespaceRules = false;
};

// Neither library reads external entities.
xmlParserInputPtr LoadNothing(const char*, const char*, xmlParserCtxtPtr) { return nullptr; }

// These names usually mean a wider encoding, and this library reads them so.
const char* EncodingOf(const std::string& bytes) {
  const std::pair<const char*, const char*> widened[] = {
      {"shift_jis", "CP932"}, {"gb2312", "GBK"}, {"euc-kr", "CP949"}};
  std::string start = bytes.substr(0, bytes.find('>'));
  std::transform(start.begin(), start.end(), start.begin(),
                 [](unsigned char it) { return static_cast<char>(std::tolower(it)); });
  for (const auto& [name, meant] : widened) {
    if (start.starts_with("<?xml") && start.find(name) != std::string::npos) return meant;
  }
  return nullptr;
}

// Converts windows-1255 one byte at a time. Given a whole text, glibc's converter composes Hebrew
// letters and points to presentation forms, which are in no Unicode normal form and which Windows
// does not produce.
int ReadHebrew(unsigned char* utf8, int* utf8Size, const unsigned char* bytes, int* size) {
  static const iconv_t converter = iconv_open("UTF-8", "WINDOWS-1255");
  std::size_t room = static_cast<std::size_t>(*utf8Size);
  char* output = reinterpret_cast<char*>(utf8);
  int done = 0;
  for (; done < *size && room > 4; ++done) {
    char byte = static_cast<char>(bytes[done]);
    char* input = &byte;
    std::size_t left = 1;
    if (iconv(converter, &input, &left, &output, &room) != 0) return -2;
    iconv(converter, nullptr, nullptr, &output, &room);
  }
  *size = done;
  return *utf8Size -= static_cast<int>(room);
}

Parsed ParseByLibxml2(const std::string& bytes) {
  constexpr int options = XML_PARSE_NOENT | XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOERROR |
                          XML_PARSE_NOWARNING | XML_PARSE_OLD10;
  const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> context(xmlNewParserCtxt(),
                                                                             &xmlFreeParserCtxt);
  Parsed parsed;
  parsed.document.reset(xmlCtxtReadMemory(context.get(), bytes.data(),
                                          static_cast<int>(bytes.size()), nullptr,
                                          EncodingOf(bytes), options));
  parsed.keepsNamespaceRules = context->nsWellFormed != 0;
  return parsed;
}

const xmlNode* NextElement(const xmlNode* node, const xmlNode* root) {
  const auto elementFrom = [](const xmlNode* it) {
    while (it != nullptr && it->type != XML_ELEMENT_NODE) it = it->next;
    return it;
  };
  if (const xmlNode* const child = elementFrom(node->children)) return child;
  for (; node != root; node = node->parent) {
    if (const xmlNode* const sibling = elementFrom(node->next)) return sibling;
  }
  return nullptr;
}

Entry EntryOf(const xmlNode* node) {
  Entry entry{FullName(node->ns, node->name), {}, {}};
  for (const xmlNode* it = node->children; it != nullptr; it = it->next) {
    if (it->type == XML_TEXT_NODE || it->type == XML_CDATA_SECTION_NODE)
      entry.text += Text(it->content);
  }
  for (const xmlNs* it = node->nsDef; it != nullptr; it = it->next) {
    entry.attributes.emplace_back(it->prefix != nullptr ? "xmlns:" + Text(it->prefix) : "xmlns",
                                  Text(it->href));
  }
  for (const xmlAttr* it = node->properties; it != nullptr; it = it->next) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> value(
        xmlNodeListGetString(node->doc, it->children, 1), xmlFree);
    entry.attributes.emplace_back(FullName(it->ns, it->name), Text(value.get()));
  }
  return entry;
}

Tree TreeOf(const Parsed& parsed) {
  Tree tree;
  const xmlNode* const root = xmlDocGetRootElement(parsed.document.get());
  for (const xmlNode* it = root; it != nullptr; it = NextElement(it, root))
    tree.push_back(EntryOf(it));
  return tree;
}

// This library's side

class Session {
 public:
  explicit Session(const fs::path& file) {
    InitXMLList(&list);
    code = OpenXML(list, file.c_str(), XmlOpenAtOnce, 0, &cookie);
  }
  ~Session() { EndXMLList(&list); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  std::uint32_t Code() const { return code; }

  std::uint32_t SetText(const std::string& child, const std::string& value) const {
    return SetXMLItem(list, cookie, "", child.c_str(), "ELEMENT", value.c_str());
  }

  // The elements, with the attributes that the same elements of `other` have: the library can't
  // list attributes.
  Tree Describe(const Tree& other) const {
    Tree tree;
    std::vector<Ostrum::Element> open{list->files.front().document->GetRoot()};
    while (!open.empty()) {
      const Ostrum::Element element = open.back();
      open.pop_back();
      Entry entry{std::string(element.GetName()), element.Text().GetValue(), {}};
      if (tree.size() < other.size()) {
        for (const auto& [name, value] : other[tree.size()].attributes) {
          const Ostrum::Value attribute = element.GetAttribute(name);
          entry.attributes.emplace_back(name, attribute.IsNull() ? "(none)" : attribute.GetValue());
        }
      }
      tree.push_back(std::move(entry));
      const std::size_t first = open.size();
      for (auto child = element.FirstChild(); !child.IsNull(); child = child.NextSibling())
        open.push_back(child);
      std::reverse(open.begin() + static_cast<std::ptrdiff_t>(first), open.end());
    }
    return tree;
  }

 private:
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  std::uint32_t code;
};

// The comparison

struct Counts {
  unsigned files = 0, elements = 0, refused = 0, namespaces = 0, unset = 0, different = 0;
};

std::string Read(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

bool LooksLikeXml(const fs::path& file, const std::string& bytes) {
  const std::string start = bytes.substr(0, 64);
  return file.extension() == ".xml" || start.find("<?xml ") < 4 ||
         start.find(std::string("<\0?\0x\0m\0l\0", 10)) < 4 ||
         start.find(std::string("\0<\0?\0x\0m\0l", 10)) < 4;
}

class Comparison {
 public:
  Comparison() : work(fs::temp_directory_path() / "tarvik-compare.xml") {
    xmlSetExternalEntityLoader(LoadNothing);
    xmlNewCharEncodingHandler("WINDOWS-1255", ReadHebrew, nullptr);
  }
  ~Comparison() { fs::remove(work); }
  Comparison(const Comparison&) = delete;
  Comparison& operator=(const Comparison&) = delete;

  void Compare(const fs::path& file) {
    const std::string bytes = Read(file);
    if (!LooksLikeXml(file, bytes)) return;
    current = file;
    ++counts.files;
    const Parsed parsed = ParseByLibxml2(bytes);
    std::ofstream(work, std::ios::binary | std::ios::trunc) << bytes;
    const Session session(work);
    const bool opened = session.Code() == XmlSuccess;
    if (!parsed.keepsNamespaceRules) {
      ++counts.namespaces;
    } else if (opened != (parsed.document != nullptr)) {
      Report(opened ? "opens here only" : "opens there only: " + std::to_string(session.Code()));
    } else if (!opened) {
      ++counts.refused;
    } else {
      CompareTrees(session, TreeOf(parsed));
    }
  }

  void PrintCounts() const {
    std::printf(
        "%u files, %u elements; %u refused by both, %u break namespace rules, %u with a text that "
        "can't be set; "
        "%u differ\n",
        counts.files, counts.elements, counts.refused, counts.namespaces, counts.unset,
        counts.different);
  }
  bool AllEqual() const { return counts.different == 0; }

 private:
  void Report(const std::string& what) {
    ++counts.different;
    std::printf("%s: %s\n", current.c_str(), what.c_str());
  }

  // Reports a difference and returns false if the trees differ.
  bool AreEqual(const Tree& ours, const Tree& theirs, const char* when) {
    if (ours == theirs) return true;
    const auto [our, their] = std::mismatch(ours.begin(), ours.end(), theirs.begin(), theirs.end());
    const bool both = our != ours.end() && their != theirs.end();
    const auto shown = [](const Entry& entry) {
      std::string line = "<" + entry.name;
      for (const auto& [name, value] : entry.attributes) line += " " + name + "='" + value + "'";
      return line + ">" + entry.text;
    };
    Report(
        std::string(when) + ", element " + std::to_string(our - ours.begin()) +
        (both ? ":\n  here:  " + shown(*our) + "\n  there: " + shown(*their) : " is not in both"));
    return false;
  }

  void CompareTrees(const Session& session, Tree theirs) {
    counts.elements += static_cast<unsigned>(theirs.size());
    if (!AreEqual(session.Describe(theirs), theirs, "as it is") || theirs.size() < 2) return;
    const std::string value = "new <&]]>\"' \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    const std::string before = Read(work);
    if (session.SetText(theirs[1].name, value) != XmlSuccess) {
      ++counts.unset;
      if (Read(work) != before) Report("a refused set changed the file");
      return;
    }
    theirs[1].text = value; // the root's first child: the search takes the first match
    const Parsed saved = ParseByLibxml2(Read(work));
    if (saved.document == nullptr) return Report("is not read there after a set");
    AreEqual(TreeOf(saved), theirs, "in the file after a set");
    AreEqual(session.Describe(theirs), theirs, "in memory after a set");
  }

  fs::path work, current;
  Counts counts;
};

} // namespace

int main(int count, char** arguments) {
  std::setlocale(LC_ALL, "C.UTF-8");
  Comparison comparison;
  for (int i = 1; i < count; ++i) {
    if (!fs::is_directory(arguments[i])) {
      comparison.Compare(arguments[i]);
      continue;
    }
    constexpr auto skip = fs::directory_options::skip_permission_denied;
    for (const auto& it : fs::recursive_directory_iterator(arguments[i], skip)) {
      std::error_code ignored;
      if (it.is_regular_file(ignored) && !it.is_symlink(ignored)) comparison.Compare(it.path());
    }
  }
  comparison.PrintCounts();
  return comparison.AllEqual() ? 0 : 1;
}
