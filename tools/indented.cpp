#include "indented.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "host/ostrumxml/data/references.h"

namespace {

using Ostrum::Element;

class IndentedWriter {
 public:
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

  void WriteAll(const Element& root) {
    std::vector<Element> open;
    Element element = root;
    for (;;) {
      Start(element, open.size());
      if (!element.FirstChild().IsNull()) {
        open.push_back(element);
        element = element.FirstChild();
        continue;
      }
      while (!open.empty() && element.NextSibling().IsNull()) {
        element = open.back();
        open.pop_back();
        End(element, open.size());
      }
      if (open.empty()) break;
      element = element.NextSibling();
    }
    text += '\n';
  }

 private:
  void StartLine(std::size_t depth) {
    if (depth < inlineDepth) text.append("\n").append(2 * depth, ' ');
  }

  void Start(const Element& element, std::size_t depth) {
    StartLine(depth);
    text.append("<").append(element.GetName());
    for (const std::string_view name : element.AttributeNames()) {
      const std::string value = element.GetAttribute(name).GetValue();
      text.append(" ").append(name).append("=\"");
      text.append(Ostrum::EscapeAttribute(value, '"')).append("\"");
    }
    const std::string value = Ostrum::EscapeText(element.GetValue());
    if (!element.FirstChild().IsNull()) {
      text.append(">").append(value);
      if (!value.empty()) inlineDepth = std::min(inlineDepth, depth + 1);
    } else if (value.empty()) {
      text += "/>";
    } else {
      text.append(">").append(value).append("</").append(element.GetName()).append(">");
    }
  }

  void End(const Element& element, std::size_t depth) {
    StartLine(depth + 1 < inlineDepth ? depth : inlineDepth);
    text.append("</").append(element.GetName()).append(">");
    if (inlineDepth == depth + 1) inlineDepth = SIZE_MAX;
  }

  // Elements at this depth and below follow without white space, since it would be part of a text.
  std::size_t inlineDepth = SIZE_MAX;
};

} // namespace

std::string WriteIndented(const Ostrum::Element& root) {
  IndentedWriter writer;
  writer.WriteAll(root);
  return std::move(writer.text);
}
