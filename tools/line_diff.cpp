#include "line_diff.h"

#include <vector>

namespace {

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (;;) {
    const std::size_t end = text.find('\n');
    lines.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 1);
  }
}

} // namespace

std::string LineDiff(std::string_view before, std::string_view after) {
  const auto old = SplitLines(before), now = SplitLines(after);
  std::string text;
  const auto append = [&text](char sign, std::string_view line) { text.append(1, sign).append(line).append(1, '\n'); };
  std::size_t i = 0, j = 0;
  while (i < old.size() || j < now.size()) {
    // How many lines to pass until both go on alike; so far that there is none, all that is left has changed.
    constexpr std::size_t farthest = 2000;
    std::size_t sum = 0, passed = 0;
    const auto goOnAlike = [&] {
      const std::size_t left = i + passed, right = j + sum - passed;
      return left < old.size() && right < now.size() ? old[left] == now[right]
                                                     : left == old.size() && right == now.size();
    };
    while (sum < farthest && !goOnAlike()) passed = passed < sum ? passed + 1 : (++sum, 0);
    const std::size_t removed = sum < farthest ? passed : old.size() - i;
    const std::size_t added = sum < farthest ? sum - passed : now.size() - j;
    for (const std::size_t end = i + removed; i < end; ++i) append('-', old[i]);
    for (const std::size_t end = j + added; j < end; ++j) append('+', now[j]);
    ++i, ++j;
  }
  return text;
}
