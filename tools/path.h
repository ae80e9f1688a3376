// Paths as users write them: the simplest form of XPath.
#ifndef TARVIK_TOOLS_PATH_H
#define TARVIK_TOOLS_PATH_H

#include <cstdint>
#include <string>
#include <vector>

// Which of the elements that match a step's name and filter the step stands for.
enum class Position {
  All,
  Number, // [2]
  Last,   // [last()]
  Next,   // [last()+1]: none, but set creates it
};

// One step of a path, for example add[@key='Timeout'][2].
struct Step {
  std::string name = "*"; // "*" stands for any name
  std::string key = {};   // of the filter [@key='value']; empty if there is none
  std::string value = {}; // of the filter
  Position position = Position::All;
  std::uint32_t number = 1; // for Position::Number, from 1
  std::string text = {};    // the step as written

  bool HasAnyName() const { return name == "*"; }
  // The step as written, but for its position.
  std::string WithoutPosition() const {
    if (position == Position::All) return text;
    return text.substr(0, text.rfind('['));
  }
};

struct Path {
  std::string text;        // the path as written
  std::vector<Step> steps; // the first stands for the root; at least that one
  std::string attribute;   // empty if the path stands for elements
};

// Throws UsageError with the reason for whatever is not a path.
Path ParsePath(const std::string& text);

#endif
