#include <nlohmann/json.hpp>

#include "commands.h"
#include "document.h"
#include "group_path.h"
#include "output.h"

// A set makes the elements that are missing on its path, so a group ID with a number in it, which a set takes for a name,
// would leave an element "ProductPackage2" in the file.
ExitStatus Set(const Options& options) {
  const Document document(options);
  const auto group = FindGroup(document, options.path);
  if (group && group->byNumber) {
    throw CommandError(options.file + ": " + options.path +
                       ": is a group ID with a number; set changes the first element of a path only");
  }
  document.Set(options.path, options.item, options.itemIsAttribute, options.value);
  if (options.json) PrintJson({{"saved", true}});
  return ExitStatus::Found;
}
