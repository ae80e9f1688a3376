// The parts of `set` and `remove`: what they are to change, and how a dry run shows it.
#ifndef TARVIK_TOOLS_EDIT_H
#define TARVIK_TOOLS_EDIT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "host/ostrumxml/save/generator.h"
#include "paths.h"

struct Change {
  Path path;
  std::optional<std::string> value; // what the path names gets it or, without one, is removed
};

// What to set: the paths and values from JSON, then those among the arguments, the last value
// perhaps from standard input. The JSON is an object of values that are strings, numbers, true or
// false, which are taken in the order and the form in which they are written. Throws UsageError
// with the reason for anything else.
std::vector<Change> ReadSettings(const Options& options);

// The unified diff that turns a file's text into the text with the edits, as the program `patch`
// reads it. Empty if they change nothing. edits: sorted, and none within another.
std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits, bool isNewFile);

#endif
