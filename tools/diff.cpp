#include "diff.h"

#include <algorithm>
#include <span>

namespace {

using Lines = std::vector<std::string_view>; // each with its line ending, if it has one

// Whole lines that edits touch: from `begin` up to `end` in the old text.
struct Block {
  std::size_t begin, end;
  std::string text; // what replaces them
};

std::size_t LineStart(std::string_view text, std::size_t offset) {
  return text.substr(0, offset).rfind('\n') + 1; // npos + 1 is 0
}

std::size_t LineEnd(std::string_view text, std::size_t offset) {
  const std::size_t end = text.find('\n', offset);
  return end == std::string_view::npos ? text.size() : end + 1;
}

std::vector<Block> BlocksOf(std::string_view old, const std::vector<Ostrum::Edit>& edits) {
  std::vector<Block> blocks;
  for (const auto& [from, length, replacement] : edits) {
    const std::size_t start = LineStart(old, from);
    if (blocks.empty() || start >= blocks.back().end) blocks.push_back({start, start, ""});
    auto& [begin, end, text] = blocks.back();
    if (end > from) text.resize(text.size() - (end - from)); // takes back the rest of a line
    if (end < from) text.append(old.substr(end, from - end));
    text += replacement;
    end = from + length;
    const bool isWhole = LineStart(old, end) == end && (text.empty() || text.ends_with('\n'));
    if (isWhole) continue;
    text.append(old.substr(end, LineEnd(old, end) - end));
    end = LineEnd(old, end);
  }
  return blocks;
}

Lines SplitLines(std::string_view text) {
  Lines lines;
  for (std::size_t start = 0; start < text.size(); start = LineEnd(text, start))
    lines.push_back(text.substr(start, LineEnd(text, start) - start));
  return lines;
}

// Lines that differ.
struct Change {
  std::size_t first; // the number of lines before the change in the old text
  Lines removed, added;
};

std::vector<Change> ChangesOf(std::string_view old, const std::vector<Block>& blocks) {
  std::vector<Change> changes;
  std::size_t counted = 0, line = 0;
  for (const Block& block : blocks) {
    line += static_cast<std::size_t>(
        std::ranges::count(old.substr(counted, block.begin - counted), '\n'));
    counted = block.begin;
    Lines removed = SplitLines(old.substr(block.begin, block.end - block.begin));
    Lines added = SplitLines(block.text);
    const auto isSame = std::ranges::mismatch(removed, added);
    const auto same = isSame.in1 - removed.begin();
    removed.erase(removed.begin(), isSame.in1);
    added.erase(added.begin(), isSame.in2);
    while (!removed.empty() && !added.empty() && removed.back() == added.back()) {
      removed.pop_back();
      added.pop_back();
    }
    if (removed.empty() && added.empty()) continue;
    changes.push_back(
        {line + static_cast<std::size_t>(same), std::move(removed), std::move(added)});
  }
  return changes;
}

class DiffWriter {
 public:
  explicit DiffWriter(std::string_view old) : lines(SplitLines(old)) {}

  // Writes changes with the lines around them as one part of the diff.
  void AddHunk(std::span<const Change> changes) {
    const std::size_t start = changes.front().first - std::min(changes.front().first, context);
    std::string body;
    std::size_t next = start; // of the old lines
    std::size_t difference = 0;
    for (const auto& [first, removed, added] : changes) {
      Append(body, ' ', std::span(lines).subspan(next, first - next));
      Append(body, '-', removed);
      Append(body, '+', added);
      next = first + removed.size();
      difference += added.size() - removed.size(); // wraps if negative
    }
    const std::size_t end = std::min(next + context, lines.size());
    Append(body, ' ', std::span(lines).subspan(next, end - next));
    text += "@@ -" + Range(start, end - start) + " +" +
            Range(start + shift, end - start + difference) + " @@\n" + body;
    shift += difference;
  }

  static constexpr std::size_t context = 3;
  std::string text;

 private:
  static std::string Range(std::size_t start, std::size_t count) {
    // An empty range is named by the line before it.
    return std::to_string(count == 0 ? start : start + 1) + ',' + std::to_string(count);
  }
  static void Append(std::string& body, char sign, std::span<const std::string_view> lines) {
    for (const std::string_view line : lines) {
      body.append(1, sign).append(line);
      if (!line.ends_with('\n')) body += "\n\\ No newline at end of file\n";
    }
  }

  const Lines lines;
  std::size_t shift = 0; // how many lines the new text has more so far; wraps if negative
};

} // namespace

std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits, bool isNewFile) {
  const std::vector<Block> blocks = BlocksOf(text, edits);
  const std::vector<Change> changes = ChangesOf(text, blocks);
  if (changes.empty()) return {};
  DiffWriter writer(text);
  writer.text =
      "--- " + std::string(isNewFile ? "/dev/null" : fileName) + "\t\n+++ " + fileName + "\t\n";
  const auto isFarBefore = [](const Change& left, const Change& right) {
    return right.first > left.first + left.removed.size() + 2 * DiffWriter::context;
  };
  for (auto first = changes.begin(); first != changes.end();) {
    const auto last = std::adjacent_find(first, changes.end(), isFarBefore);
    const auto end = last == changes.end() ? last : last + 1;
    writer.AddHunk({first, end});
    first = end;
  }
  return writer.text;
}
