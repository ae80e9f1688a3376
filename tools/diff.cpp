#include <algorithm>
#include <cassert>
#include <deque>
#include <span>

#include "edit.h"

namespace {

struct Line {
  char sign;             // as in the diff: ' ' kept, '-' removed, '+' added
  std::string_view text; // with its line ending, if it has one
};

// The offset after the line that contains the offset.
std::size_t LineEnd(std::string_view text, std::size_t offset) {
  return std::min(text.find('\n', offset), text.size() - 1) + 1;
}

std::vector<std::string_view> LinesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::size_t end = 0; !text.empty(); text.remove_prefix(end)) {
    end = LineEnd(text, 0);
    lines.push_back(text.substr(0, end));
  }
  return lines;
}

// The lines of a text and of what the edits turn it into.
class MarkedLines {
 public:
  MarkedLines(std::string_view text, const std::vector<Ostrum::Edit>& edits) {
    std::size_t done = 0; // of the text
    for (auto edit = edits.begin(); edit != edits.end();) {
      const std::size_t start = text.substr(0, edit->from).rfind('\n') + 1; // 0 in the first line
      assert(start >= done);
      std::string& changed = replacements.emplace_back();
      std::size_t at = start, end = 0;
      do { // the edits that share a line with the one before
        changed.append(text, at, edit->from - at).append(edit->replacement);
        at = edit->from + edit->length;
        end = LineEnd(text, at);
        ++edit;
      } while (edit != edits.end() && edit->from < end);
      changed.append(text, at, end - at);
      Add(' ', LinesOf(text.substr(done, start - done)));
      AddChange(LinesOf(text.substr(start, end - start)), LinesOf(changed));
      done = end;
    }
    Add(' ', LinesOf(text.substr(done)));
  }

  std::vector<Line> lines;

 private:
  using Part = std::span<const std::string_view>;

  void Add(char sign, Part part) {
    for (const std::string_view text : part) lines.push_back({sign, text});
  }

  // Keeps the lines that both have at the beginning and at the end.
  void AddChange(Part before, Part after) {
    const auto common = std::ranges::mismatch(before, after).in1 - before.begin();
    const auto head = static_cast<std::size_t>(common);
    Add(' ', before.first(head));
    std::size_t removed = before.size(), added = after.size();
    while (removed > head && added > head && before[removed - 1] == after[added - 1])
      --removed, --added;
    Add('-', before.subspan(head, removed - head));
    Add('+', after.subspan(head, added - head));
    Add(' ', before.subspan(removed));
  }

  std::deque<std::string> replacements; // referred to by lines
};

// Lines as one part of the diff. first: how many lines of the old and the new text precede them;
// they are counted on.
std::string Hunk(std::span<const Line> lines, std::size_t (&first)[2]) {
  std::string ranges, body;
  for (const auto& [sign, text] : lines) {
    body.append(1, sign).append(text);
    if (!text.ends_with('\n')) body += "\n\\ No newline at end of file\n";
  }
  for (const char side : {'-', '+'}) {
    std::size_t& start = first[side == '+'];
    const auto isOnSide = [side](const Line& line) {
      return line.sign == ' ' || line.sign == side;
    };
    const auto count = static_cast<std::size_t>(std::ranges::count_if(lines, isOnSide));
    // An empty range is named by the line before it.
    const std::size_t number = start + std::min<std::size_t>(count, 1);
    ranges += std::string(" ") + side + std::to_string(number) + ',' + std::to_string(count);
    start += count;
  }
  return "@@" + ranges + " @@\n" + body;
}

} // namespace

std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits, bool isNewFile) {
  constexpr std::ptrdiff_t context = 3; // kept lines around a change
  const MarkedLines marked(text, edits);
  const auto isChanged = [](const Line& line) { return line.sign != ' '; };
  std::string diff =
      "--- " + std::string(isNewFile ? "/dev/null" : fileName) + "\t\n+++ " + fileName + "\t\n";
  std::size_t first[2] = {0, 0};
  const auto end = marked.lines.end();
  auto change = std::ranges::find_if(marked.lines, isChanged);
  if (change == end) return {};
  for (auto done = marked.lines.begin(); change != end;) {
    const auto start = change - std::min(change - done, context);
    for (std::size_t& number : first) number += static_cast<std::size_t>(start - done);
    do {
      done = std::find_if_not(change, end, isChanged);
      change = std::find_if(done, end, isChanged);
    } while (change != end && change - done <= 2 * context);
    done += std::min(end - done, context);
    diff += Hunk({start, done}, first);
  }
  return diff;
}
