// A node's value as multibyte text for the length of a scope.
#ifndef TARVIK_TEXT_NARROW_VALUE_H
#define TARVIK_TEXT_NARROW_VALUE_H

#include <cstring>
#include <string_view>

#include "host/ostrumxml/node.h"
#include "platform/platform.h"
#include "text/convert.h"

// Gives what ConvertToMultiByte makes of the value, its log lines included. A value of plain ASCII that stands in the document
// as it is meant, as most do, is copied from there; a short one without an allocation.
class NarrowValue {
 public:
  // Throws std::bad_alloc.
  explicit NarrowValue(const Ostrum::Node& node) {
    if (platform::AsciiIsPlain()) {
      if (const auto ascii = node.AsciiValue()) {
        Copy(*ascii);
        return;
      }
    }
    onHeap.reset(ConvertToMultiByte(node.GetValue()));
    text = onHeap.get();
  }
  NarrowValue(const NarrowValue&) = delete;
  NarrowValue& operator=(const NarrowValue&) = delete;

  // Null when the value can't be converted. Lives as long as this object.
  const char* Text() const noexcept { return text; }

 private:
  void Copy(std::string_view ascii) {
    char* target = inPlace;
    if (ascii.size() >= sizeof inPlace) {
      onHeap = std::make_unique_for_overwrite<char[]>(ascii.size() + 1);
      target = onHeap.get();
    }
    std::memcpy(target, ascii.data(), ascii.size());
    target[ascii.size()] = '\0';
    text = target;
  }

  char inPlace[128];
  const char* text;
  MultiByteText onHeap;
};

#endif
