// Work on documents of unusual shape, at one size and at four times that: time and memory must stay
// in proportion.
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "alone.h"
#include "open_catalog.h"
#include "works.h"

namespace {

// The unit as often as told, each "@" in it standing for 1, 2, 3, ...
std::string Document(const std::string& begin, std::uint32_t count, const std::string& unit,
                     const std::string& end) {
  std::string text = begin;
  for (std::uint32_t i = 1; i <= count; ++i) {
    for (const char c : unit) c == '@' ? void(text += std::to_string(i)) : text.push_back(c);
  }
  return text + end;
}

// A document whose root is r, as a caller sees it. What it answers must be right.
class Caller {
 public:
  explicit Caller(const std::string& file) : catalog(file) {}

  std::string Group(const std::string& path, std::uint32_t occurrence = 1) const {
    char id[260] = "";
    const std::uint32_t code =
        EnumXMLGroup(List(), Cookie(), path.c_str(), occurrence, id, sizeof id);
    Require(code == XmlSuccess, "no group " + path);
    return id;
  }
  void RequireText(const std::string& item, std::int32_t index, const std::string& expected,
                   std::uint32_t capacity = 260) const {
    char value[260];
    EnumXMLItem(List(), Cookie(), "r", item.c_str(), "ELEMENT", index, nullptr, nullptr, value,
                capacity);
    Require(value == expected, item + " reads " + value);
  }
  void RequireAttribute(const std::string& path, const std::string& item, std::int32_t index,
                        const std::string& name, const std::string& expected) const {
    char value[260];
    EnumXMLItem(List(), Cookie(), path.c_str(), item.c_str(), "ATTRIBUTE", index, name.c_str(),
                "ATTRIBUTE", value, sizeof value);
    Require(value == expected, name + " reads " + value);
  }
  void Set(const std::string& path, const std::string& item, const char* value) const {
    Require(
        SetXMLItem(List(), Cookie(), path.c_str(), item.c_str(), "ELEMENT", value) == XmlSuccess,
        item + " not set");
  }
  XmlFileList* List() const { return catalog.List(); }
  const std::uint32_t& Cookie() const { return catalog.Cookie(); }

 private:
  TarvikCatalog catalog;
};

enum class Order { FromTheFront, FromTheEnd, TwoNamesInTurn };

// Neighbours of two names, visited in some order.
template <Order order, auto visit>
void Walk(const std::string& file, std::uint32_t count) {
  const Caller caller(file);
  for (std::uint32_t i = 1; i <= count; ++i) {
    visit(caller, "a", order == Order::FromTheEnd ? count + 1 - i : i);
    if (order == Order::TwoNamesInTurn) visit(caller, "b", i);
  }
}

std::string Neighbours(std::uint32_t count) {
  return Document("<r>", count, "<a id='@'>@</a><b id='@'>@</b>", "</r>");
}
void VisitGroup(const Caller& caller, const char* name, std::uint32_t i) { caller.Group(name, i); }
void VisitText(const Caller& caller, const char* name, std::uint32_t i) {
  caller.RequireText(name, static_cast<std::int32_t>(i), std::to_string(i));
}
void VisitAttribute(const Caller& caller, const char* name, std::uint32_t i) {
  caller.RequireAttribute("r", name, static_cast<std::int32_t>(i), "id", std::to_string(i));
}

std::string FilesApart(std::uint32_t count) {
  return Document("<Catalog><ProductPackage><LangPackage><FileList>", count,
                  "<FileItem><Name>@</Name><Hash>h</Hash></FileItem><X/>",
                  "</FileList></LangPackage></ProductPackage></Catalog>");
}
void ListFiles(const std::string& file, std::uint32_t count) {
  const TarvikCatalog catalog(file);
  std::vector<FileListEntry> files;
  Require(
      GetFileList(catalog.List(), &catalog.Cookie(), &files) == XmlSuccess && files.size() == count,
      "other files");
}

std::string PackagesApart(std::uint32_t count) {
  return Document("<Catalog>", count,
                  "<ProductPackage><ProductID>P@</ProductID><ProductDetection "
                  "Branch='C'/><LangPackage Branch='C' "
                  "Version='@'><PackageType>I</PackageType></LangPackage></ProductPackage><X/>",
                  "</Catalog>");
}
void EnumPairs(const std::string& file, std::uint32_t count) {
  const TarvikCatalog catalog(file);
  DetectionPosition position = {1, 1, 1};
  DetectionInfo info;
  std::uint32_t pairs = 0;
  while (EnumDetectionInfo(catalog.List(), &catalog.Cookie(), position, &info) == XmlSuccess)
    ++pairs;
  Require(pairs == count, "other pairs");
}
void GetLastPair(const std::string& file, std::uint32_t count) {
  const TarvikCatalog catalog(file);
  DetectionInfo info;
  const std::string product = "P" + std::to_string(count);
  Require(GetDetectionInfo(catalog.List(), &catalog.Cookie(), "C", product.c_str(), "I", &info) ==
              XmlSuccess,
          "no pair");
}

void ReadAttributes(const std::string& file, std::uint32_t count) {
  const Caller caller(file);
  for (std::uint32_t i = 1; i <= count; ++i) {
    caller.RequireAttribute("r", "r", 1, "a" + std::to_string(i), std::to_string(i));
  }
}
void ReadDistinct(const std::string& file, std::uint32_t count) {
  const Caller caller(file);
  for (std::uint32_t i = 1; i <= count; ++i)
    caller.RequireText("e" + std::to_string(i), 1, std::to_string(i));
}
void ReadAttributesInTurn(const std::string& file, std::uint32_t count) {
  const Caller caller(file);
  for (std::uint32_t i = 1; i <= count; ++i) {
    for (const char* name : {"id", "b", "c", "d", "e"}) {
      caller.RequireAttribute("r", "a", static_cast<std::int32_t>(i), name, std::to_string(i));
    }
  }
}
void OpenFilteredInTurn(const std::string& file, std::uint32_t count) {
  const Caller caller(file);
  for (std::uint32_t i = 1; i <= count; ++i) {
    for (const char* path : {"a&k=v\\c", "a&k=w\\c"}) caller.Group(path, i);
  }
}
void OpenFiltered(const std::string& file, std::uint32_t count) {
  const Caller caller(file);
  for (std::uint32_t i = 1; i <= count; ++i) caller.Group("Item&id=v" + std::to_string(i));
}
// What is out of proportion may be refused, but soon.
void OpenOrBeRefused(const std::string& file, std::uint32_t) {
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
  InitXMLList(&list);
  const std::uint32_t code = OpenXML(list, file.c_str(), XmlOpenAtOnce, 0, &cookie);
  Require(code == XmlSuccess || code == XmlOutOfMemory, "neither opened nor refused");
  EndXMLList(&list);
}
void MakeDeepPath(const std::string& file, std::uint32_t count) {
  std::string path;
  for (std::uint32_t i = 0; i < count; ++i) path += "a\\";
  path.pop_back();
  Caller(file).Set(path, "z", "deep");
}
void ReadBeginning(const std::string& file, std::uint32_t) {
  Caller(file).RequireText("t", 1, std::string(15, 'x'), 16);
}
void ReadLast(const std::string& file, std::uint32_t count) {
  Caller(file).Group("e" + std::to_string(count));
}
void MakeTwentyChildren(const std::string& file, std::uint32_t) {
  const Caller caller(file);
  for (int i = 1; i <= 20; ++i) caller.Set("", "made" + std::to_string(i), "v");
}

struct Shape {
  const char* name;
  std::uint32_t count; // at the smaller size
  std::string (*document)(std::uint32_t count);
  void (*work)(const std::string& file, std::uint32_t count);
};

const Shape shapes[] = {
    {"GetFileList, another element between two files", 10'000, &FilesApart, &ListFiles},
    {"EnumXMLGroup from the front", 5'000, &Neighbours, &Walk<Order::FromTheFront, &VisitGroup>},
    {"EnumXMLGroup from the end", 5'000, &Neighbours, &Walk<Order::FromTheEnd, &VisitGroup>},
    {"EnumXMLGroup, two names in turn", 5'000, &Neighbours,
     &Walk<Order::TwoNamesInTurn, &VisitGroup>},
    {"EnumXMLItem by text from the front", 5'000, &Neighbours,
     &Walk<Order::FromTheFront, &VisitText>},
    {"EnumXMLItem by text from the end", 5'000, &Neighbours, &Walk<Order::FromTheEnd, &VisitText>},
    {"EnumXMLItem by text, two names in turn", 5'000, &Neighbours,
     &Walk<Order::TwoNamesInTurn, &VisitText>},
    {"EnumXMLItem by attribute from the front", 5'000, &Neighbours,
     &Walk<Order::FromTheFront, &VisitAttribute>},
    {"EnumXMLItem by attribute from the end", 5'000, &Neighbours,
     &Walk<Order::FromTheEnd, &VisitAttribute>},
    {"EnumXMLItem by attribute, two names in turn", 5'000, &Neighbours,
     &Walk<Order::TwoNamesInTurn, &VisitAttribute>},
    {"EnumDetectionInfo, other elements between packages", 2'000, &PackagesApart, &EnumPairs},
    {"GetDetectionInfo of the last product", 2'000, &PackagesApart, &GetLastPair},
    {"every attribute of one tag", 5'000,
     [](std::uint32_t count) { return Document("<r", count, " a@='@'", "/>"); }, &ReadAttributes},
    {"every child of distinct names", 5'000,
     [](std::uint32_t count) { return Document("<r>", count, "<e@>@</e@>", "</r>"); },
     &ReadDistinct},
    {"groups by a filter, Item&id=v for every v", 2'000,
     [](std::uint32_t count) { return Document("<r>", count, "<Item id='v@'/>", "</r>"); },
     &OpenFiltered},
    {"five attributes of every child in turn", 2'000,
     [](std::uint32_t count) {
       return Document("<r>", count, "<a id='@' b='@' c='@' d='@' e='@'/>", "</r>");
     },
     &ReadAttributesInTurn},
    {"groups by two filters in turn, each matching many", 2'000,
     [](std::uint32_t count) {
       const std::string children = Document("", count, "<c/>", "");
       return Document("<r>", count, "<b/>",
                       "<a k='v'>" + children + "</a><a k='w'>" + children + "</a>") +
              Document("", count, "<a k='v'/><a k='w'/>", "</r>");
     },
     &OpenFilteredInTurn},
    {"attribute defaults declared for one element", 20'000,
     [](std::uint32_t count) {
       return Document("<!DOCTYPE r [", count, "<!ATTLIST r a@ CDATA 'x'>", "]><r/>");
     },
     &OpenOrBeRefused},
    {"a deep path created", 2'000, [](std::uint32_t) { return std::string("<r/>"); },
     &MakeDeepPath},
    {"an own entity referred to often, 15 bytes read", 50'000,
     [](std::uint32_t count) {
       return Document("<!DOCTYPE r [<!ENTITY e '" + std::string(280, 'x') + "'>]><r><t>", count,
                       "&e;", "</t></r>");
     },
     &ReadBeginning},
    {"distinct names", 250'000,
     [](std::uint32_t count) { return Document("<r>", count, "<e@/>", "</r>"); }, &ReadLast},
    {"20 children created after white space", 250'000,
     [](std::uint32_t count) { return "<r>\n" + std::string(count, ' ') + "<c/>\n</r>\n"; },
     &MakeTwentyChildren},
    {"elements from entities", 10'000,
     [](std::uint32_t count) {
       return Document("<!DOCTYPE r [<!ENTITY e '<a><b>x</b></a>'>]><r>", count, "&e;<e@/>",
                       "</r>");
     },
     &ReadLast},
};

void Measure(benchmark::State& state, const WorkFolder& folder, std::size_t number,
             std::uint32_t count) {
  const std::string text = shapes[number].document(count);
  Figures figures;
  for (auto _ : state) {
    const std::string file = folder.Write("shape.xml", text); // the work may change it
    figures = RunAlone("shape", {std::to_string(number), file, std::to_string(count)});
    state.counters["after"] = static_cast<double>(std::filesystem::file_size(file));
  }
  state.counters["seconds"] = figures.at(0);
  state.counters["most"] = figures.at(1);
  state.counters["file"] = static_cast<double>(text.size());
}

} // namespace

Figures WorkOnShape(const std::vector<std::string>& arguments) {
  const Shape& shape = shapes[std::stoul(arguments.at(0))];
  const std::size_t before = Resident();
  const std::clock_t start = std::clock();
  shape.work(arguments.at(1), static_cast<std::uint32_t>(std::stoul(arguments.at(2))));
  return {static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC,
          static_cast<double>(MostResident() - before)};
}

void RegisterShapes(const WorkFolder& folder) {
  for (std::size_t number = 0; number < std::size(shapes); ++number) {
    for (const std::uint32_t times : {1U, 4U}) {
      const Shape& shape = shapes[number];
      benchmark::RegisterBenchmark(
          (std::string("shape/") + shape.name + (times == 1 ? "/n" : "/4n")).c_str(),
          [&folder, number, count = shape.count * times](benchmark::State& state) {
            Measure(state, folder, number, count);
          })
          ->Iterations(1);
    }
  }
}
