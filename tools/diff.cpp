#include <algorithm>
#include <iterator>

#include "input_output.h"

namespace {

struct Line {
  char sign;             // as in the diff: ' ' kept, '-' removed, '+' added
  std::string text;      // with its line ending, if it has one
  std::size_t before[2]; // how many lines of the old and of the new text precede it
};

// The lines of a text and of what the edits turn it into, followed by one without text.
class MarkedLines {
 public:
  MarkedLines(std::string_view text, const std::vector<Ostrum::Edit>& edits) {
    std::size_t done = 0; // of the text
    for (const auto& [from, length, replacement] : edits) {
      Append(text.substr(done, from - done), true, true);
      Append(text.substr(from, length), true, false);
      Append(replacement, false, true);
      done = from + length;
    }
    Append(text.substr(done), true, true);
    Flush();
    lines.push_back({' ', {}, {count[0], count[1]}});
  }

  std::vector<Line> lines;

 private:
  using Texts = std::vector<std::string>;

  // Continues the last line of the texts if that has no ending.
  void Append(std::string_view text, bool isOld, bool isNew) {
    const auto append = [](Texts& side, std::string_view line) {
      if (side.empty() || side.back().ends_with('\n')) side.emplace_back();
      side.back() += line;
    };
    for (std::string_view line; !text.empty(); text.remove_prefix(line.size())) {
      line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
      if (isOld) append(removed, line);
      if (isNew) append(added, line);
      if (isOld && isNew && line.ends_with('\n')) Flush();
    }
  }

  // Keeps the lines that both sides have at the beginning and at the end.
  void Flush() {
    const auto [from, newFrom] = std::ranges::mismatch(removed, added);
    const auto [end, newEnd] = std::mismatch(removed.rbegin(), std::reverse_iterator(from),
                                             added.rbegin(), std::reverse_iterator(newFrom));
    Add(' ', removed.begin(), from);
    Add('-', from, end.base());
    Add('+', newFrom, newEnd.base());
    Add(' ', end.base(), removed.end());
    removed.clear();
    added.clear();
  }

  void Add(char sign, Texts::iterator from, Texts::iterator end) {
    for (; from != end; ++from) {
      lines.push_back({sign, std::move(*from), {count[0], count[1]}});
      if (sign != '+') ++count[0];
      if (sign != '-') ++count[1];
    }
  }

  Texts removed, added; // since both texts were last at the end of a line
  std::size_t count[2] = {0, 0};
};

// end: a line, too.
std::string Hunk(std::vector<Line>::const_iterator line, std::vector<Line>::const_iterator end) {
  std::string hunk = "@@";
  for (const int side : {0, 1}) {
    const std::size_t count = end->before[side] - line->before[side];
    // An empty range is named by the line before it.
    const std::size_t number = line->before[side] + std::min<std::size_t>(count, 1);
    hunk += std::string(side == 0 ? " -" : " +") + std::to_string(number) + ',';
    hunk += std::to_string(count);
  }
  hunk += " @@\n";
  for (; line != end; ++line) {
    hunk.append(1, line->sign).append(line->text);
    if (!line->text.ends_with('\n')) hunk += "\n\\ No newline at end of file\n";
  }
  return hunk;
}

} // namespace

std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits) {
  constexpr std::ptrdiff_t context = 3; // kept lines around a change
  const std::vector<Line> lines = MarkedLines(text, edits).lines;
  const auto isChanged = [](const Line& line) { return line.sign != ' '; };
  const auto end = lines.end() - 1;
  auto done = lines.begin(), change = std::find_if(done, end, isChanged);
  if (change == end) return {};
  std::string diff =
      "--- " + (text.empty() ? "/dev/null" : fileName) + "\t\n+++ " + fileName + "\t\n";
  while (change != end) {
    const auto start = change - std::min(change - done, context);
    do {
      done = std::find_if_not(change, end, isChanged);
      change = std::find_if(done, end, isChanged);
    } while (change != end && change - done <= 2 * context);
    done += std::min(end - done, context);
    diff += Hunk(start, done);
  }
  return diff;
}
