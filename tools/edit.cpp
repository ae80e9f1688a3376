// The commands `set` and `remove`.

#include <corekit/corekit.h>

#include <algorithm>
#include <cassert>
#include <span>
#include <stdexcept>

#include "host/ostrumxml/data/markup.h"
#include "input_output.h"
#include "paths.h"
#include "system.h"

namespace {

struct Change {
  Path path;
  std::optional<std::string> value; // what the path names gets it or, without one, is removed
};

// Applies changes to one document.
class Application {
 public:
  Application(const Options& given, Element root) : options(given), matcher(root) {}

  // Sets and creates in the order given, then removes. If the changes were applied before, to what
  // the file held then, each path must find as much as before. Throws; the document may then be
  // partly changed.
  void Apply(const std::vector<Change>& changes, const Application* earlier) {
    before = earlier;
    for (const Change& change : changes) Try([&] { Apply(change); }, change.path, "set");
    for (const auto& [path, place] : removals)
      Try([path = path, &place = place] { Remove(place, path->attribute); }, *path, "removed");
  }

  std::vector<std::string> created; // paths
  Members values;                   // what was set or removed, if JSON is wanted

 private:
  template <class Action>
  static void Try(Action action, const Path& path, const char* done) {
    try {
      action();
    } catch (const std::invalid_argument& reason) {
      throw std::runtime_error(path.text + ": not " + done + ": " + reason.what());
    }
  }

  // A removal is only noted, and applied after all paths were found.
  void Apply(const Change& change) {
    const Path& path = change.path;
    Found found = Find(change);
    if (!found.IsWhole(path)) Create(change, found);
    const bool namesElements = change.value || path.attribute.empty();
    RequireOne(path, found, namesElements ? "elements" : "attributes");
    const bool isKey = found.places.size() == 1;
    for (const Place& place : found.places) {
      if (change.value) Set(path, place, *change.value);
      if (options.json)
        values.emplace_back(isKey ? path.text : PathOf(place, path.attribute),
                            ValueAt(place, path.attribute));
      if (!change.value) removals.emplace_back(&path, place);
    }
  }

  Found Find(const Change& change) {
    Found found = matcher.Find(change.path, change.value.has_value());
    found.counted.insert(found.counted.end(), {found.steps, found.places.size()});
    assert(before == nullptr || counted.size() < before->counted.size());
    if (before != nullptr && before->counted[counted.size()] != found.counted)
      throw std::runtime_error("not saved: another program changed the file meanwhile, and " +
                               change.path.text + " may now name something else");
    counted.push_back(found.counted);
    return found;
  }

  void Set(const Path& path, const Place& place, const std::string& value) {
    Element element = place.back();
    if (path.attribute.empty()) return element.SetText(value);
    const bool isNew = element.GetAttribute(path.attribute).IsNull();
    if (isNew && options.existing)
      throw NothingFound(matcher.WhyMissing(path, {{place}, place.size(), {}}));
    matcher.SetAttribute(place, path.attribute, value);
    if (isNew) NoteCreated(place, path.attribute);
  }

  // The path only if it will be listed: it takes time in proportion to the depth.
  void NoteCreated(const Place& place, std::string_view attribute = {}) {
    created.push_back(created.size() < maxListed ? PathOf(place, attribute) : "");
  }

  static void Remove(const Place& place, const std::string& attribute) {
    Element element = place.back();
    if (!attribute.empty()) return element.RemoveAttribute(attribute);
    if (place.size() == 1) throw std::invalid_argument("a document needs its root");
    Element(place[place.size() - 2]).RemoveChild(element);
  }

  void RequireOne(const Path& path, const Found& found, const char* what) const {
    if (found.places.size() <= 1 || options.all) return;
    throw std::runtime_error(path.text + " names " + std::to_string(found.places.size()) + ' ' +
                             what + "; --all takes all of them, a number such as [1] one");
  }

  // Creates what is missing of the path in each place that was found, and makes it the place.
  void Create(const Change& change, Found& found) {
    const Path& path = change.path;
    const std::span missing = std::span(path.steps).subspan(found.steps);
    const bool canCreate = change.value && !options.existing;
    if (!canCreate || std::ranges::any_of(missing, &Step::HasAnyName))
      throw NothingFound(matcher.WhyMissing(path, found));
    if (found.steps == 0) throw std::runtime_error(matcher.WhyMissing(path, found));
    RequireOne(path, found, "places for a new element");
    for (Place& place : found.places) {
      for (const Step& step : missing) {
        RequireNext(path, place, step);
        Element child = place.back().AddElementInto(step.name);
        if (child.IsNull()) throw std::invalid_argument("the element comes from an entity");
        if (!step.key.empty()) child.SetAttribute(step.key, step.value);
        place.push_back(child);
        NoteCreated(place);
        const std::string misread = MisreadNumber(place[place.size() - 2], step.name);
        if (!misread.empty()) created.back() += " (" + misread + " is the one of that number)";
      }
    }
  }

  // An element can be created only with the number that it will have.
  void RequireNext(const Path& path, const Place& place, const Step& step) {
    const std::uint32_t count = matcher.Count(place.back(), step);
    if (step.NumberAmong(count) == count + 1) return;
    throw std::runtime_error(path.text + ": " + NameOf(place) + " has " + std::to_string(count) +
                             ' ' + step.WithoutPosition() + "; the next is number " +
                             std::to_string(count + 1) + ", or last()+1");
  }

  const Options& options;
  const Application* before = nullptr;
  Matcher matcher;
  std::vector<std::vector<std::size_t>> counted; // by each change, in numbers
  std::vector<std::pair<const Path*, Place>> removals;
};

// False where that cannot be told.
bool IsMissing(const platform::FileName& name) {
  std::error_code failure;
  return status(name, failure).type() == std::filesystem::file_type::not_found;
}

// The root's name for a new file: that with which a path begins.
std::string RootOf(const std::vector<Change>& changes) {
  for (const auto& [path, value] : changes) {
    const Step& root = path.steps.front();
    if (!root.HasAnyName()) return root.name;
  }
  throw std::runtime_error("does not exist; a path must name its root, as in /Config/Net/Port");
}

// A new file's text: a declaration, then each element on a line of its own, indented by two blanks
// for each level, except within an element that has text before its child elements. xml: an
// element without white space between tags, comments or the like; empty elements are empty tags.
std::string Indented(std::string_view xml) {
  using enum Ostrum::PieceKind;
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
  std::size_t depth = 0;
  std::size_t inlineDepth = SIZE_MAX; // from here on, white space would become part of a text
  Ostrum::PieceScanner scanner(xml);
  for (Ostrum::Piece piece{}; scanner.Next(piece);) {
    const bool isTag = piece.kind >= StartTag;
    const bool isEnd = piece.kind == EndTag;
    const bool startsLine = isTag && depth < inlineDepth;
    if (!isTag) inlineDepth = std::min(inlineDepth, depth);
    if (isEnd && depth == inlineDepth) inlineDepth = SIZE_MAX;
    if (isEnd) --depth;
    if (startsLine) text.append("\n").append(2 * depth, ' ');
    if (piece.kind == StartTag) ++depth;
    text += piece.text;
  }
  return text + '\n';
}

// FILE while it is changed.
class Target final : public Ostrum::PendingChanges {
 public:
  Target(const Options& given, const std::vector<Change>& wanted)
      : options(given), changes(wanted) {}

  void Apply() {
    ApplyTo(*document);
    if (isNew) document = Parse(Indented(document->GenerateXML(false)));
    isChanged = isNew || !document->Edits().empty();
    if (options.dryRun || isInput) {
      PrintBytes(Result());
    } else if (isChanged) {
      console::HoldSignals(true);
      file.Save(*document, *this);
    }
  }

  // Called again by a save that must repeat the changes.
  void ApplyTo(Ostrum::Document& other) const override {
    auto next = std::make_unique<Application>(options, other.GetRoot());
    next->Apply(changes, application.get());
    application = std::move(next);
  }

  void Report() const {
    if (!FlushOutput()) return; // what could not be printed was not done
    if (options.json) PrintJson(application->values);
    const std::string created = Listed(application->created);
    std::string note;
    if (!created.empty()) note = (options.dryRun ? "would create " : "created ") + created;
    if (isChanged && encoding != Ostrum::UTF_8)
      note.append(note.empty() ? "" : "; ").append("is now in UTF-8");
    if (!note.empty()) PrintMessage(options.file, note);
  }

 private:
  std::unique_ptr<Ostrum::Document> Read() {
    if (!isInput && IsStream(options.file))
      throw std::runtime_error("is a pipe or a device, which cannot be saved");
    std::string bytes = isInput ? ReadBytes(options.file) : file.ReadBytes();
    if (isInput || options.dryRun) original = bytes;
    Ostrum::FileText text = Decode(std::move(bytes), options);
    encoding = text.encoding;
    if (options.dryRun && encoding != Ostrum::UTF_8)
      throw std::runtime_error("is not in UTF-8, which -n requires");
    return Parse(std::move(text.utf8));
  }

  // For standard output.
  std::string Result() const {
    if (options.dryRun) {
      std::vector<Ostrum::Edit> edits = document->Edits();
      if (isNew) edits.push_back({0, 0, document->GenerateXML(false)});
      return UnifiedDiff(Shown(options.file), original, edits);
    }
    if (!isChanged) return original; // in its encoding
    std::string text = document->GenerateXML(false);
    if (options.encrypted && !corekit::KCryptWrap::encrypt_data(text, text))
      throw std::runtime_error("cannot be encrypted");
    return text;
  }

  const Options& options;
  const std::vector<Change>& changes;
  const bool isInput = options.file == "-";
  const platform::FileName name = console::FileNameOf(options.file);
  const bool isNew = options.create && !options.existing && !isInput && IsMissing(name);
  Ostrum::DocumentFile file{name, options.encrypted ? corekit::KCryptWrap::decrypt_data : nullptr,
                            options.encrypted ? corekit::KCryptWrap::encrypt_data : nullptr};
  bool isChanged = false;
  Ostrum::UTF_ENCODINGS encoding = Ostrum::UTF_8;
  std::string original; // the bytes of standard input, or for a dry run
  // Read sets the members above.
  std::unique_ptr<Ostrum::Document> document = isNew ? Parse("<" + RootOf(changes) + "/>") : Read();
  mutable std::unique_ptr<Application> application; // the last one
};

ExitStatus Apply(const Options& options, const std::vector<Change>& changes) {
  if (options.dryRun && options.encrypted) throw UsageError("-n shows no encrypted file");
  if (options.json && (options.dryRun || options.file == "-"))
    throw UsageError("--json excludes -n and FILE -");
  Target target(options, changes);
  target.Apply();
  target.Report();
  return ExitStatus::Found;
}

// A value from standard input, without the line ending that a program put at its end.
std::string ReadValue() try {
  std::string value = ReadBytes("-");
  if (value.ends_with('\n')) value.erase(value.size() - (value.ends_with("\r\n") ? 2 : 1));
  return value;
} catch (const std::runtime_error& failure) {
  throw UsageError(std::string("--stdin: ") + failure.what());
}

} // namespace

ExitStatus Set(const Options& options) {
  const std::vector<std::string>& words = options.arguments;
  const bool lacksValue = words.size() % 2 != 0;
  if (lacksValue && !options.fromInput) throw UsageError(words.back() + ": a PATH without a VALUE");
  if (!lacksValue && options.fromInput)
    throw UsageError("--stdin gives the VALUE of the last PATH, which must be left out");
  const int readers = (options.file == "-") + (options.from == "-") + options.fromInput;
  if (readers > 1) throw UsageError("FILE -, --stdin and --from - exclude each other");
  if (words.empty() && !options.from) throw UsageError("nothing to set: give PATH VALUE or --from");
  std::vector<Change> changes;
  if (options.from) {
    for (const auto& [path, value] : ReadMembers(*options.from))
      changes.push_back({ParsePath(path), value});
  }
  for (std::size_t i = 0; i < words.size(); i += 2)
    changes.push_back({ParsePath(words[i]), i + 1 < words.size() ? words[i + 1] : ""});
  if (lacksValue) changes.back().value = RequireUtf8(ReadValue(), "--stdin");
  return Apply(options, changes);
}

ExitStatus Remove(const Options& options) {
  std::vector<Change> removals;
  for (const std::string& path : options.arguments) removals.push_back({ParsePath(path), {}});
  return Apply(options, removals);
}
