#include <algorithm>
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

// The range of lines on one side of a hunk: those without the other side's sign. before: the number
// of that side's lines before the hunk, to which the range is added.
std::string Range(Lines hunk, char otherSign, std::size_t& before) {
  const auto isHere = [otherSign](const Line& line) { return line.sign != otherSign; };
  const auto count = static_cast<std::size_t>(std::ranges::count_if(hunk, isHere));
  // An empty range is named by the line before it.
  const std::size_t number = before + std::min<std::size_t>(count, 1);
  before += count;
  return std::to_string(number) + ',' + std::to_string(count);
}

// before: as for Range, of the old and of the new text.
std::string Hunk(Lines lines, std::size_t (&before)[2]) {
  std::string hunk = "@@ -" + Range(lines, '+', before[0]);
  hunk += " +" + Range(lines, '-', before[1]) + " @@\n";
  for (const auto& [sign, text] : lines) {
    hunk.append(1, sign).append(text);
    if (!text.ends_with('\n')) hunk += "\n\\ No newline at end of file\n";
  }
  return hunk;
}

} // namespace

std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits) {
  constexpr std::ptrdiff_t context = 3; // kept lines around a change
  std::deque<std::string> changed;
  const std::vector<Line> lines = MarkedLines(text, edits, changed);
  const auto isChanged = [](const Line& line) { return line.sign != ' '; };
  const auto end = lines.end();
  auto done = lines.begin(), change = std::find_if(done, end, isChanged);
  if (change == end) return {};
  std::string diff =
      "--- " + (text.empty() ? "/dev/null" : fileName) + "\t\n+++ " + fileName + "\t\n";
  std::size_t before[2] = {0, 0};
  while (change != end) {
    const auto start = change - std::min(change - done, context);
    for (std::size_t& count : before) count += static_cast<std::size_t>(start - done);
    do {
      done = std::find_if_not(change, end, isChanged);
      change = std::find_if(done, end, isChanged);
    } while (change != end && change - done <= 2 * context);
    done += std::min(end - done, context);
    diff += Hunk({start, done}, before);
  }
  return diff;
}
