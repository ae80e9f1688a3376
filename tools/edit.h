// The parts of `set` and `remove`: what they read, do to a document, and write.
#ifndef TARVIK_TOOLS_EDIT_H
#define TARVIK_TOOLS_EDIT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/save/generator.h"
#include "output.h"
#include "paths.h"

struct Change {
  Path path;
  std::optional<std::string> value; // what the path names gets it or, without one, is removed
};

// What changes did to a document.
struct Outcome {
  std::vector<std::vector<std::size_t>> found; // by each change, in numbers
  std::vector<std::string> created;            // paths; only the first ones are known
  JsonObject values;                           // what was set or removed, if JSON is wanted
};

// Sets and creates in the order given, then removes. If the changes were applied before, to what
// the file held then, each path must find as much as before. Throws CommandError; the document may
// then be partly changed.
Outcome ApplyChanges(const std::vector<Change>& changes, const Options& options,
                     Ostrum::Document& document, const Outcome* before);

// What to set, from a JSON file, or from standard input if it is "-": an object of paths and values
// that are strings, numbers, true or false, in the order and the form in which they are written.
// Throws UsageError with the reason for anything else.
std::vector<Change> ReadSettings(const std::string& file);

// The unified diff that turns a file's text into the text with the edits, as the program `patch`
// reads it. Empty if they change nothing. edits: sorted, and none within another.
std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits, bool isNewFile);

#endif
