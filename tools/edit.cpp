// The commands `set` and `remove`.
#include "edit.h"

#include <corekit/corekit.h>

#include <algorithm>
#include <span>
#include <stdexcept>

#include "host/ostrumxml/data/markup.h"
#include "input.h"
#include "output.h"
#include "system.h"

namespace {

// Applies changes to one document.
class Application {
 public:
  Application(const Options& given, Element root) : options(given), matcher(root) {}

  // Sets and creates in the order given, then removes. If the changes were applied before, to what
  // the file held then, each path must find as much as before. Throws CommandError; the document
  // may then be partly changed.
  void Apply(const std::vector<Change>& changes, const Application* earlier) {
    before = earlier;
    const Path* path = nullptr;
    try {
      for (const Change& change : changes) {
        path = &change.path;
        if (change.value) {
          Set(change);
        } else {
          Collect(change.path);
        }
      }
      for (const auto& [removed, place] : removals) {
        path = removed;
        Remove(place, path->attribute);
      }
    } catch (const std::invalid_argument& reason) {
      const char* const refused = removals.empty() ? ": not set: " : ": not removed: ";
      throw CommandError(path->text + refused + reason.what());
    }
  }

  std::vector<std::string> created; // paths; only the first ones are known
  JsonObject values;                // what was set or removed, if JSON is wanted

 private:
  void Set(const Change& change) {
    const Path& path = change.path;
    Found found = Find(path, true);
    if (!found.IsWhole(path)) Create(path, found);
    RequireOne(path, found, "elements");
    for (Place& place : found.places) {
      if (path.attribute.empty()) {
        place.back().SetText(*change.value);
      } else {
        SetAttribute(place, path.attribute, *change.value);
      }
    }
    AddValues(path, found.places);
  }

  // The removals are applied at the end, after all paths were found.
  void Collect(const Path& path) {
    Found found = Find(path, false);
    if (!found.IsWhole(path)) RefuseMissing(path, found);
    RequireOne(path, found, path.attribute.empty() ? "elements" : "attributes");
    AddValues(path, found.places);
    for (Place& place : found.places) removals.emplace_back(&path, std::move(place));
  }

  static void Remove(const Place& place, const std::string& attribute) {
    Element element = place.back();
    if (!attribute.empty()) return element.RemoveAttribute(attribute);
    if (place.size() == 1) throw std::invalid_argument("a document needs its root");
    Element(place[place.size() - 2]).RemoveChild(element);
  }

  Found Find(const Path& path, bool isAttributeOptional) {
    Found found = matcher.Find(path, isAttributeOptional);
    found.counted.insert(found.counted.end(), {found.steps, found.places.size()});
    if (before != nullptr && before->counted[counted.size()] != found.counted)
      throw CommandError("not saved: another program changed the file meanwhile, and " + path.text +
                         " may now name something else");
    counted.push_back(found.counted);
    return found;
  }

  [[noreturn]] void RefuseMissing(const Path& path, const Found& found) {
    throw CommandError(matcher.WhyMissing(path, found), ExitStatus::NothingFound);
  }

  void RequireOne(const Path& path, const Found& found, const char* what) const {
    if (found.places.size() <= 1 || options.all) return;
    throw CommandError(path.text + " names " + std::to_string(found.places.size()) + ' ' + what +
                       "; --all takes all of them, a number such as [1] one");
  }

  void SetAttribute(const Place& place, const std::string& name, const std::string& value) {
    const bool isNew = place.back().GetAttribute(name).IsNull();
    if (isNew && options.existing)
      throw CommandError("no attribute " + name + " in " + PathOf(place), ExitStatus::NothingFound);
    matcher.SetAttribute(place.back(), name, value);
    if (isNew) NoteCreated(place, name);
  }

  // Creates what is missing of the path in each place that was found, and makes it the place.
  void Create(const Path& path, Found& found) {
    const std::span missing = std::span(path.steps).subspan(found.steps);
    if (options.existing || std::ranges::any_of(missing, &Step::HasAnyName))
      RefuseMissing(path, found);
    if (found.steps == 0) throw CommandError(matcher.WhyMissing(path, found));
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
    if (step.position == Position::All || step.position == Position::Next) return;
    const std::uint32_t count = matcher.Count(place.back(), step);
    if (step.position == Position::Number && step.number == count + 1) return;
    throw CommandError(path.text + ": " + PathOf(place) + " has " + std::to_string(count) + ' ' +
                       step.WithoutPosition() + "; the next is number " +
                       std::to_string(count + 1) + ", or last()+1");
  }

  void NoteCreated(const Place& place, std::string_view attribute = {}) {
    created.push_back(created.size() < maxListed ? PathOf(place, attribute) : "");
  }

  void AddValues(const Path& path, const std::vector<Place>& places) {
    if (!options.json) return;
    for (const Place& place : places) {
      const std::string key = places.size() == 1 ? path.text : PathOf(place, path.attribute);
      values.emplace_back(key, ValueAt(place, path.attribute));
    }
  }

  const Options& options;
  const Application* before = nullptr;
  Matcher matcher;
  std::vector<std::vector<std::size_t>> counted; // by each change, in numbers
  std::vector<std::pair<const Path*, Place>> removals;
};

// The root's name for a new file: that with which a path begins.
std::string RootOf(const std::vector<Change>& changes) {
  for (const auto& [path, value] : changes) {
    const Step& root = path.steps.front();
    if (path.text.starts_with('/') && !root.HasAnyName()) return root.name;
  }
  throw CommandError("does not exist; a path must name its root, as in /Config/Net/Port");
}

// A new file's text: a declaration, then each element on a line of its own, indented by two blanks
// for each level, except within an element that has text before its child elements. xml: an
// element without white space between tags, comments or the like.
std::string Indented(std::string_view xml) {
  using enum Ostrum::PieceKind;
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
  std::size_t depth = 0;
  // From this depth on, white space would become part of a text.
  std::size_t inlineDepth = SIZE_MAX;
  auto before = Other;
  Ostrum::PieceScanner scanner(xml);
  for (Ostrum::Piece piece{}; scanner.Next(piece); before = piece.kind) {
    const bool isEnd = piece.kind == EndTag;
    const bool isStart = piece.kind == StartTag || piece.kind == EmptyTag;
    const bool followsText = before == Text || before == Reference;
    const bool followsChild = before == EndTag || before == EmptyTag;
    if (isEnd) --depth;
    if (isStart && followsText) inlineDepth = std::min(inlineDepth, depth);
    const bool startsLine =
        (isStart && depth < inlineDepth) || (isEnd && followsChild && depth + 1 < inlineDepth);
    if (startsLine) text.append("\n").append(2 * depth, ' ');
    if (isEnd && inlineDepth == depth + 1) inlineDepth = SIZE_MAX;
    if (piece.kind == StartTag) ++depth;
    text += piece.text;
  }
  return text + '\n';
}

// FILE while it is changed.
class Target final : public Ostrum::PendingChanges {
 public:
  Target(const Options& given, const std::vector<Change>& wanted)
      : options(given), changes(wanted) {
    if (isNew) {
      document = Parse("<" + RootOf(changes) + "/>");
    } else {
      Read();
    }
  }

  void Apply() {
    ApplyTo(*document);
    if (isNew) document = Parse(Indented(document->GenerateXML(false)));
    isChanged = isNew || !document->Edits().empty();
    if (options.dryRun) {
      PrintDiff();
    } else if (isInput) {
      PrintResult();
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
    if (options.json) PrintJson(application->values);
    const std::string created = Listed(application->created);
    std::string note;
    if (!created.empty()) note = (options.dryRun ? "would create " : "created ") + created;
    if (isChanged && encoding != Ostrum::UTF_8)
      note.append(note.empty() ? "" : "; ").append("is now in UTF-8");
    if (!note.empty()) PrintMessage(options.file, note);
  }

 private:
  void Read() {
    if (!isInput && IsStream(options.file)) throw CommandError("is a pipe, which cannot be saved");
    std::string bytes = isInput ? ReadBytes(options.file) : file.ReadBytes();
    if (isInput || options.dryRun) original = bytes;
    Ostrum::FileText text = Decode(std::move(bytes), options);
    encoding = text.encoding;
    if (options.dryRun && encoding != Ostrum::UTF_8)
      throw CommandError("is not in UTF-8, which -n requires");
    document = Parse(std::move(text.utf8));
  }

  void PrintDiff() const {
    std::vector<Ostrum::Edit> edits = document->Edits();
    if (isNew) edits.push_back({0, 0, document->GenerateXML(false)});
    PrintBytes(UnifiedDiff(Shown(options.file), original, edits, isNew));
  }

  // An unchanged input comes out as it was, in its encoding.
  void PrintResult() const {
    if (!isChanged) return PrintBytes(original);
    std::string result = document->GenerateXML(false);
    if (options.encrypted && !corekit::KCryptWrap::encrypt_data(result, result))
      throw CommandError("cannot be encrypted");
    PrintBytes(result);
  }

  const Options& options;
  const std::vector<Change>& changes;
  const bool isInput = options.file == "-";
  const platform::FileName name = console::FileNameOf(options.file);
  const bool isNew = options.create && !isInput && !exists(name);
  Ostrum::DocumentFile file{name, options.encrypted ? corekit::KCryptWrap::decrypt_data : nullptr,
                            options.encrypted ? corekit::KCryptWrap::encrypt_data : nullptr};
  bool isChanged = false;
  Ostrum::UTF_ENCODINGS encoding = Ostrum::UTF_8;
  std::string original; // the bytes of standard input, or for a dry run
  std::unique_ptr<Ostrum::Document> document;
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

} // namespace

ExitStatus Set(const Options& options) { return Apply(options, ReadSettings(options)); }

ExitStatus Remove(const Options& options) {
  std::vector<Change> removals;
  for (const std::string& path : options.arguments) removals.push_back({ParsePath(path), {}});
  return Apply(options, removals);
}
