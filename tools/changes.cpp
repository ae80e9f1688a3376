#include "changes.h"

#include "diff.h"
#include "indented.h"
#include "input.h"
#include "output.h"
#include "system.h"

void Changes::ApplyTo(Ostrum::Document& document) {
  created.clear();
  members.clear();
  searches = 0;
  Matcher matcher(document.GetRoot());
  Run(matcher);
  wasApplied = true;
}

Matches Changes::Find(Matcher& matcher, const Path& path, std::span<const Step> steps) {
  Matches matches = matcher.Find(steps);
  Seen now{matches.places.size(), matches.siblings};
  if (!wasApplied) {
    seen.push_back(std::move(now));
  } else if (searches >= seen.size() || seen[searches] != now) {
    throw CommandError("not saved: another program changed the file meanwhile, and " + path.text +
                       " may now name something else");
  }
  ++searches;
  return matches;
}

void Changes::NoteCreated(const Place& place, std::string_view attribute) {
  // Only the first ones are shown.
  created.push_back(created.size() < maxListed ? PathOf(place, attribute) : "");
}

void Changes::RequireOne(const Path& path, std::size_t count, const std::string& what) const {
  if (count <= 1 || options.all) return;
  throw CommandError(path.text + " names " + std::to_string(count) + ' ' + what +
                     "; --all takes all of them, a number such as [1] one");
}

namespace {

// The changes as a save applies them again.
class Pending : public Ostrum::PendingChanges {
 public:
  explicit Pending(Changes& which) : changes(which) {}
  void ApplyTo(Ostrum::Document& other) const override { changes.ApplyTo(other); }

 private:
  Changes& changes;
};

// FILE while it is changed.
class Target {
 public:
  Target(const Options& given, const std::string& newRoot)
      : options(given),
        isInput(given.file == "-"),
        name(console::FileNameOf(given.file)),
        file(name, DecryptionFor(given), EncryptionFor(given)),
        isNew(options.create && !isInput && !exists(name)) {
    if (isNew) {
      Begin(newRoot);
    } else {
      Read();
    }
  }

  void Change(Changes& changes) {
    changes.ApplyTo(*document);
    if (isNew) document = Parse(WriteIndented(document->GetRoot()));
    isChanged = isNew || !document->Edits().empty();
    if (options.dryRun) return PrintDiff();
    if (isInput) return PrintResult();
    if (!isChanged) return;
    const console::HeldSignals held;
    Pending pending(changes);
    file.Save(*document, pending);
  }

  bool HasNewEncoding() const { return isChanged && encoding != Ostrum::UTF_8; }

 private:
  void Begin(const std::string& root) {
    if (root.empty())
      throw CommandError("does not exist; a path must name its root, as in /Config/Net/Port");
    document = Parse("<" + root + "/>");
  }

  void Read() {
    if (!isInput && IsStream(options.file)) throw CommandError("is a pipe, which cannot be saved");
    std::string bytes = isInput ? ReadBytes(options.file) : file.ReadBytes();
    if (isInput) original = bytes;
    Ostrum::FileText text = Decode(std::move(bytes), options);
    encoding = text.encoding;
    if (options.dryRun) {
      if (encoding != Ostrum::UTF_8) throw CommandError("is not in UTF-8, which -n requires");
      original = text.utf8;
    }
    document = Parse(std::move(text.utf8));
  }

  void PrintDiff() const {
    std::vector<Ostrum::Edit> edits = document->Edits();
    if (isNew) edits.push_back({0, 0, document->GenerateXML(false)});
    PrintBytes(UnifiedDiff(isInput ? "-" : options.shownFile, original, edits, isNew));
  }

  // An unchanged input comes out as it was, in its encoding.
  void PrintResult() const {
    if (!isChanged) return PrintBytes(original);
    std::string result = document->GenerateXML(false);
    const Ostrum::ByteFilter encrypt = EncryptionFor(options);
    if (encrypt != nullptr && !encrypt(result, result)) throw CommandError("cannot be encrypted");
    PrintBytes(result);
  }

  const Options& options;
  const bool isInput;
  const platform::FileName name;
  Ostrum::DocumentFile file;
  const bool isNew;
  bool isChanged = false;
  Ostrum::UTF_ENCODINGS encoding = Ostrum::UTF_8;
  std::string original; // of standard input the bytes, for a dry run the text
  std::unique_ptr<Ostrum::Document> document;
};

void RequireNoConflict(const Options& options) {
  if (options.dryRun && options.encrypted) throw UsageError("-n shows no encrypted file");
  const bool printsText = options.dryRun || options.file == "-";
  if (printsText && options.json) throw UsageError("--json excludes -n and FILE -");
}

} // namespace

ExitStatus Apply(Changes& changes, const Options& options, const std::string& newRoot) {
  RequireNoConflict(options);
  Target target(options, newRoot);
  target.Change(changes);
  if (options.json) PrintJson(changes.members);
  std::string note;
  if (!changes.created.empty())
    note = (options.dryRun ? "would create " : "created ") + Listed(changes.created);
  if (target.HasNewEncoding()) note += (note.empty() ? "" : "; ") + std::string("is now in UTF-8");
  if (!note.empty()) PrintMessage(AfterFile(options.shownFile, note));
  return ExitStatus::Found;
}
