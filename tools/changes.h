// Changes of FILE that a command makes as a whole or not at all.
#ifndef TARVIK_TOOLS_CHANGES_H
#define TARVIK_TOOLS_CHANGES_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "host/ostrumxml/document.h"
#include "matches.h"

// What is to be done, independent of a document. It is applied to the document that was read and,
// if another program has changed the file since, to what the file holds by now. There each path
// must then find as many elements, and as many siblings to count a number among, as before.
class Changes {
 public:
  explicit Changes(const Options& given) : options(given) {}
  virtual ~Changes() = default;

  // Throws CommandError.
  void ApplyTo(Ostrum::Document& document);

  // What the last application created, as paths, and members for JSON if they are wanted.
  std::vector<std::string> created, members;

 protected:
  virtual void Run(Matcher& matcher) = 0;

  // The places that the steps name.
  Matches Find(Matcher& matcher, const Path& path, std::span<const Step> steps);
  void NoteCreated(const Place& place, std::string_view attribute = {});
  // Throws CommandError if there are several and --all was not given.
  void RequireOne(const Path& path, std::size_t count, const std::string& what) const;

  const Options& options;

 private:
  struct Seen {
    std::size_t places;
    std::vector<std::uint32_t> siblings;
    bool operator==(const Seen&) const = default;
  };
  std::vector<Seen> seen; // by each search of the first application
  std::size_t searches = 0;
  bool wasApplied = false;
};

// Applies the changes to FILE and saves it; or prints what would change; or, if FILE is standard
// input, prints the result. With --create, a FILE that does not exist gets a root of that name;
// empty if none is known. Throws CommandError or another exception with the reason, and FILE is
// then unchanged.
ExitStatus Apply(Changes& changes, const Options& options, const std::string& newRoot = {});

#endif
