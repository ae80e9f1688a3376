#include "edit.h"

#include <algorithm>
#include <span>

namespace {

using Ostrum::Edit;

// A text by lines, each with its line ending, if it has one.
class Lines {
 public:
  explicit Lines(std::string_view all) : text(all) {
    for (std::size_t end = 0; end < text.size();
         end = std::min(text.find('\n', end), text.size() - 1) + 1)
      starts.push_back(end);
  }
  std::size_t Count() const { return starts.size(); }
  // Also for the number after the last line.
  std::size_t StartOf(std::size_t line) const {
    return line < starts.size() ? starts[line] : text.size();
  }
  std::size_t LineAt(std::size_t offset) const {
    if (offset == text.size()) return starts.size();
    return static_cast<std::size_t>(std::ranges::upper_bound(starts, offset) - starts.begin()) - 1;
  }
  std::string_view Part(std::size_t from, std::size_t to) const {
    return text.substr(from, to - from);
  }
  std::string_view operator[](std::size_t line) const {
    return Part(starts[line], StartOf(line + 1));
  }

 private:
  std::string_view text;
  std::vector<std::size_t> starts;
};

// Lines that differ: from `first` up to `end` in the old text.
struct Difference {
  std::size_t first, end;
  std::string added;
};

// Removes the lines at the beginning and the end that are the same in both.
void Trim(const Lines& old, Difference& difference) {
  const Lines added(difference.added);
  std::size_t first = 0, end = added.Count();
  while (difference.first < difference.end && first < end && old[difference.first] == added[first])
    ++difference.first, ++first;
  while (difference.first < difference.end && first < end &&
         old[difference.end - 1] == added[end - 1])
    --difference.end, --end;
  difference.added = added.Part(added.StartOf(first), added.StartOf(end));
}

std::vector<Difference> DifferencesOf(const Lines& old, const std::vector<Edit>& edits) {
  std::vector<Difference> differences;
  for (auto edit = edits.begin(); edit != edits.end();) {
    const std::size_t first = old.LineAt(edit->from);
    Difference difference{first, first, std::string(old.Part(old.StartOf(first), edit->from))};
    std::size_t lineEnd = 0;
    do {
      const std::size_t done = edit->from + edit->length;
      difference.added += edit->replacement;
      difference.end = std::min(old.LineAt(done) + 1, old.Count());
      lineEnd = old.StartOf(difference.end);
      ++edit;
      const bool isNear = edit != edits.end() && edit->from < lineEnd;
      difference.added += old.Part(done, isNear ? edit->from : lineEnd);
    } while (edit != edits.end() && edit->from < lineEnd);
    Trim(old, difference);
    if (difference.first < difference.end || !difference.added.empty())
      differences.push_back(std::move(difference));
  }
  return differences;
}

constexpr std::size_t context = 3; // lines around a change

void AppendLines(std::string& body, char sign, const Lines& lines, std::size_t from,
                 std::size_t to) {
  for (; from < to; ++from) {
    body.append(1, sign).append(lines[from]);
    if (!lines[from].ends_with('\n')) body += "\n\\ No newline at end of file\n";
  }
}

// An empty range is named by the line before it.
std::string Range(std::size_t start, std::size_t count) {
  return std::to_string(count == 0 ? start : start + 1) + ',' + std::to_string(count);
}

// Changes with the lines around them as one part of the diff. shift: how many lines the new text
// has more so far; wraps if negative.
std::string Hunk(const Lines& old, std::span<const Difference> differences, std::size_t& shift) {
  const std::size_t start =
      differences.front().first - std::min(differences.front().first, context);
  const std::size_t end = std::min(differences.back().end + context, old.Count());
  const std::size_t newStart = start + shift;
  std::string body;
  std::size_t next = start;
  for (const auto& [first, changeEnd, text] : differences) {
    const Lines added(text);
    AppendLines(body, ' ', old, next, first);
    AppendLines(body, '-', old, first, changeEnd);
    AppendLines(body, '+', added, 0, added.Count());
    next = changeEnd;
    shift += added.Count() - (changeEnd - first);
  }
  AppendLines(body, ' ', old, next, end);
  return "@@ -" + Range(start, end - start) + " +" + Range(newStart, end + shift - newStart) +
         " @@\n" + body;
}

} // namespace

std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Edit>& edits, bool isNewFile) {
  const Lines old(text);
  const std::vector<Difference> differences = DifferencesOf(old, edits);
  if (differences.empty()) return {};
  std::string diff =
      "--- " + std::string(isNewFile ? "/dev/null" : fileName) + "\t\n+++ " + fileName + "\t\n";
  const auto isFarBefore = [](const Difference& left, const Difference& right) {
    return right.first > left.end + 2 * context;
  };
  std::size_t shift = 0;
  for (auto first = differences.begin(); first != differences.end();) {
    const auto last = std::adjacent_find(first, differences.end(), isFarBefore);
    const auto end = last == differences.end() ? last : last + 1;
    diff += Hunk(old, {first, end}, shift);
    first = end;
  }
  return diff;
}
