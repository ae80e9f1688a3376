// The commands `set` and `remove`.
#include <corekit/corekit.h>

#include <algorithm>

#include "edit.h"
#include "host/ostrumxml/data/markup.h"
#include "input.h"
#include "system.h"

namespace {

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
  using Ostrum::PieceKind;
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
  std::size_t depth = 0;
  // From this depth on, white space would become part of a text.
  std::size_t inlineDepth = SIZE_MAX;
  auto before = PieceKind::Other;
  Ostrum::PieceScanner scanner(xml);
  for (Ostrum::Piece piece{}; scanner.Next(piece); before = piece.kind) {
    const bool isEnd = piece.kind == PieceKind::EndTag;
    const bool isStart = piece.kind == PieceKind::StartTag || piece.kind == PieceKind::EmptyTag;
    const bool followsText = before == PieceKind::Text || before == PieceKind::Reference;
    const bool followsChild = before == PieceKind::EndTag || before == PieceKind::EmptyTag;
    if (isEnd) --depth;
    if (isStart && followsText) inlineDepth = std::min(inlineDepth, depth);
    const bool startsLine =
        (isStart && depth < inlineDepth) || (isEnd && followsChild && depth + 1 < inlineDepth);
    if (startsLine) text.append("\n").append(2 * depth, ' ');
    if (isEnd && inlineDepth == depth + 1) inlineDepth = SIZE_MAX;
    if (piece.kind == PieceKind::StartTag) ++depth;
    text += piece.text;
  }
  return text + '\n';
}

// FILE while it is changed.
class Target final : public Ostrum::PendingChanges {
 public:
  Target(const Options& given, const std::vector<Change>& wanted)
      : options(given), changes(wanted) {
    Read();
  }

  void Apply() {
    outcome = ApplyChanges(changes, options, *document, nullptr);
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

  // For a save that must repeat the changes.
  void ApplyTo(Ostrum::Document& other) const override {
    outcome = ApplyChanges(changes, options, other, &outcome);
  }

  void Report() const {
    if (options.json) PrintJson(outcome.values);
    const std::string created = Listed(outcome.created);
    std::string note;
    if (!created.empty()) note = (options.dryRun ? "would create " : "created ") + created;
    if (isChanged && encoding != Ostrum::UTF_8)
      note.append(note.empty() ? "" : "; ").append("is now in UTF-8");
    if (!note.empty()) PrintMessage(options.file, note);
  }

 private:
  void Read() {
    if (isNew) {
      document = Parse("<" + RootOf(changes) + "/>");
      return;
    }
    if (!isInput && IsStream(options.file)) throw CommandError("is a pipe, which cannot be saved");
    std::string bytes = isInput ? ReadBytes(options.file) : file.ReadBytes();
    if (isInput) original = bytes;
    Ostrum::FileText text = Decode(std::move(bytes), options);
    encoding = text.encoding;
    if (options.dryRun && encoding != Ostrum::UTF_8)
      throw CommandError("is not in UTF-8, which -n requires");
    if (options.dryRun) original = text.utf8;
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
    if (encrypt != nullptr && !encrypt(result, result)) throw CommandError("cannot be encrypted");
    PrintBytes(result);
  }

  const Options& options;
  const std::vector<Change>& changes;
  const bool isInput = options.file == "-";
  const platform::FileName name = console::FileNameOf(options.file);
  const bool isNew = options.create && !isInput && !exists(name);
  const Ostrum::ByteFilter decrypt =
      options.encrypted ? corekit::KCryptWrap::decrypt_data : nullptr;
  const Ostrum::ByteFilter encrypt =
      options.encrypted ? corekit::KCryptWrap::encrypt_data : nullptr;
  Ostrum::DocumentFile file{name, decrypt, encrypt};
  bool isChanged = false;
  Ostrum::UTF_ENCODINGS encoding = Ostrum::UTF_8;
  std::string original; // of standard input the bytes, for a dry run the text
  std::unique_ptr<Ostrum::Document> document;
  mutable Outcome outcome; // of the last time that the changes were applied
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
std::string ValueFromInput() {
  std::string value = ReadBytes("-");
  if (value.ends_with('\n')) value.erase(value.size() - (value.ends_with("\r\n") ? 2 : 1));
  return RequireUtf8(value, "--stdin");
}

// What is to be set, that of --from first.
std::vector<Change> Settings(const Options& options) {
  const std::vector<std::string>& words = options.arguments;
  const bool lacksValue = words.size() % 2 != 0;
  if (lacksValue && !options.fromInput) throw UsageError(words.back() + ": a PATH without a VALUE");
  if (!lacksValue && options.fromInput) throw UsageError("--stdin: the last PATH has a VALUE");
  const int readers = (options.file == "-") + (options.from == "-") + options.fromInput;
  if (readers > 1) throw UsageError("FILE -, --stdin and --from - exclude each other");
  if (words.empty() && !options.from) throw UsageError("nothing to set: give PATH VALUE or --from");
  std::vector<Change> changes;
  if (options.from) changes = ReadSettings(*options.from);
  for (std::size_t i = 0; i < words.size(); i += 2)
    changes.push_back({ParsePath(words[i]), i + 1 < words.size() ? words[i + 1] : ""});
  if (lacksValue) changes.back().value = ValueFromInput();
  return changes;
}

} // namespace

ExitStatus Set(const Options& options) { return Apply(options, Settings(options)); }

ExitStatus Remove(const Options& options) {
  std::vector<Change> removals;
  for (const std::string& path : options.arguments) removals.push_back({ParsePath(path), {}});
  return Apply(options, removals);
}
