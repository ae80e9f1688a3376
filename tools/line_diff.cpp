#include "line_diff.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

using Lines = std::vector<std::string_view>; // with their line ends

Lines SplitLines(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.push_back(text.substr(0, end == std::string_view::npos ? end : end + 1));
    text.remove_prefix(lines.back().size());
  }
  return lines;
}

// How many lines to pass on each side until both go on alike.
std::pair<std::size_t, std::size_t> NextAlike(const Lines& before, std::size_t i, const Lines& after, std::size_t j) {
  constexpr std::size_t farthest = 2000; // beyond, all that is left counts as changed
  for (std::size_t sum = 1; sum <= farthest; ++sum) {
    for (std::size_t passed = 0; passed <= sum; ++passed) {
      const std::size_t left = i + passed, right = j + sum - passed;
      const bool bothEnd = left == before.size() && right == after.size();
      const bool bothGoOn = left < before.size() && right < after.size() && before[left] == after[right];
      if (bothEnd || bothGoOn) return {passed, sum - passed};
    }
  }
  return {before.size() - i, after.size() - j};
}

std::string Range(std::size_t first, std::size_t count) {
  const std::string start = std::to_string(count == 0 ? first : first + 1);
  return count == 1 ? start : start + ',' + std::to_string(count);
}

void AppendLines(std::string& text, char sign, const Lines& lines, std::size_t first, std::size_t count) {
  for (std::size_t i = first; i < first + count; ++i) {
    text += sign;
    text += lines[i];
    if (!lines[i].ends_with('\n')) text += "\n\\ No newline at end of file\n";
  }
}

} // namespace

std::string LineDiff(std::string_view before, std::string_view after) {
  const Lines old = SplitLines(before), now = SplitLines(after);
  std::string text;
  for (std::size_t i = 0, j = 0; i < old.size() || j < now.size();) {
    if (i < old.size() && j < now.size() && old[i] == now[j]) {
      ++i, ++j;
      continue;
    }
    const auto [removed, added] = NextAlike(old, i, now, j);
    text += "@@ -" + Range(i, removed) + " +" + Range(j, added) + " @@\n";
    AppendLines(text, '-', old, i, removed);
    AppendLines(text, '+', now, j, added);
    i += removed;
    j += added;
  }
  return text;
}
