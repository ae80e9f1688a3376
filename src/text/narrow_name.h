// An element's name as multibyte text for the length of a scope.
#ifndef TARVIK_TEXT_NARROW_NAME_H
#define TARVIK_TEXT_NARROW_NAME_H

#include <optional>
#include <string_view>

#include "host/ostrumxml/node.h"
#include "platform/platform.h"
#include "text/convert.h"

// Gives what ConvertToMultiByte makes of the name, its log lines included. A name of plain ASCII, as most are, is shown where
// the document holds it, without a conversion.
class NarrowName {
 public:
  // The element's document must outlive this object. Throws std::bad_alloc.
  explicit NarrowName(const Ostrum::Element& element) {
    if (platform::AsciiIsPlain()) text = element.AsciiName();
    if (text) return;
    converted.reset(ConvertToMultiByte(element.GetName()));
    if (converted != nullptr) text = converted.get();
  }
  NarrowName(const NarrowName&) = delete;
  NarrowName& operator=(const NarrowName&) = delete;

  // Nothing when the name can't be converted. Not terminated; lives as long as this object.
  const std::optional<std::string_view>& Text() const noexcept { return text; }

 private:
  std::optional<std::string_view> text;
  MultiByteText converted;
};

#endif
