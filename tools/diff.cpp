#include <algorithm>
#include <cassert>
#include <deque>
#include <iterator>
#include <span>

#include "input_output.h"

namespace {

struct Line {
  char sign;             // as in the diff: ' ' kept, '-' removed, '+' added
  std::string_view text; // with its line ending, if it has one
};

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (; !text.empty(); text.remove_prefix(lines.back().size()))
    lines.push_back(text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1));
  return lines;
}

// Keeps the lines that both texts have at their beginning and at their end.
void AppendLines(std::vector<Line>& lines, std::string_view oldText, std::string_view newText) {
  const auto removed = SplitLines(oldText), added = SplitLines(newText);
  const auto append = [&lines](char sign, auto from, auto end) {
    for (; from != end; ++from) lines.push_back({sign, *from});
  };
  const auto [from, newFrom] = std::ranges::mismatch(removed, added);
  const auto [end, newEnd] = std::mismatch(removed.rbegin(), std::reverse_iterator(from),
                                           added.rbegin(), std::reverse_iterator(newFrom));
  append(' ', removed.begin(), from);
  append('-', from, end.base());
  append('+', newFrom, newEnd.base());
  append(' ', end.base(), removed.end());
}

// The lines of a text and of what the edits turn it into; `changed` keeps those that are new.
std::vector<Line> MarkedLines(std::string_view text, const std::vector<Ostrum::Edit>& edits,
                              std::deque<std::string>& changed) {
  std::vector<Line> lines;
  std::size_t done = 0; // of the text
  for (auto edit = edits.begin(); edit != edits.end();) {
    assert(edit->from >= done && edit->from + edit->length <= text.size());
    const std::size_t start = text.substr(0, edit->from).rfind('\n') + 1;
    AppendLines(lines, text.substr(done, start - done), text.substr(done, start - done));
    std::string& result = changed.emplace_back();
    done = start;
    std::size_t end = start; // of the lines that the edits change
    do {
      result.append(text.substr(done, edit->from - done)).append(edit->replacement);
      done = edit->from + edit->length;
      if (done >= end) end = std::min(text.find('\n', done), text.size() - 1) + 1;
    } while (++edit != edits.end() && edit->from <= end);
    AppendLines(lines, text.substr(start, end - start), result.append(text, done, end - done));
    done = end;
  }
  AppendLines(lines, text.substr(done), text.substr(done));
  return lines;
}

using Lines = std::span<const Line>;

std::string Text(Lines lines) {
  std::string text;
  for (const auto& [sign, line] : lines) {
    text.append(1, sign).append(line);
    if (!line.ends_with('\n')) text += "\n\\ No newline at end of file\n";
  }
  return text;
}

// The range of lines on one side of a part: those without the other side's sign. before: the number
// of that side's lines before the part, to which the range is added.
std::string Range(Lines part, char otherSign, std::size_t& before) {
  const auto isHere = [otherSign](const Line& line) { return line.sign != otherSign; };
  const auto count = static_cast<std::size_t>(std::ranges::count_if(part, isHere));
  // An empty range is named by the line before it.
  const std::size_t number = before + std::min<std::size_t>(count, 1);
  before += count;
  return std::to_string(number) + ',' + std::to_string(count);
}

// Whether a hunk has the line: a changed one, or one of three kept lines around it.
bool IsShown(Lines lines, std::size_t i) {
  constexpr std::size_t context = 3;
  const std::size_t from = i - std::min(i, context);
  const Lines around = lines.subspan(from, std::min(i + context + 1, lines.size()) - from);
  return std::ranges::any_of(around, [](const Line& line) { return line.sign != ' '; });
}

} // namespace

std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits) {
  std::deque<std::string> changed;
  const std::vector<Line> marked = MarkedLines(text, edits, changed);
  const Lines lines = marked;
  std::string hunks;
  std::size_t before[2] = {0, 0};
  for (std::size_t start = 0, end = 0; start < lines.size(); start = end) {
    const bool isHunk = IsShown(lines, start);
    do ++end;
    while (end < lines.size() && IsShown(lines, end) == isHunk);
    const Lines part = lines.subspan(start, end - start);
    const std::string oldRange = Range(part, '+', before[0]),
                      newRange = Range(part, '-', before[1]);
    if (isHunk) hunks += "@@ -" + oldRange + " +" + newRange + " @@\n" + Text(part);
  }
  if (hunks.empty()) return {};
  // Names that need it are quoted; patch reads them as C strings.
  const std::string quoted = Json(fileName).dump();
  const std::string name = quoted.size() > fileName.size() + 2 ? quoted : fileName;
  return "--- " + (text.empty() ? "/dev/null" : name) + "\t\n+++ " + name + "\t\n" + hunks;
}
