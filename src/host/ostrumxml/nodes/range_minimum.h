#ifndef TARVIK_HOST_OSTRUMXML_NODES_RANGE_MINIMUM_H
#define TARVIK_HOST_OSTRUMXML_NODES_RANGE_MINIMUM_H

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace Ostrum {

// Finds the least of any range of a sequence of numbers in logarithmic time. It keeps the least of
// each block of sixteen, and of pairs of these, so it adds an eighth to the sequence.
class RangeMinimum {
 public:
  using Numbers = std::vector<std::uint32_t>;
  // The least of an empty range.
  static constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

  RangeMinimum() = default;
  // Throws std::bad_alloc.
  explicit RangeMinimum(const Numbers& numbers)
      : blockCount(numbers.size() / blockSize), tree(2 * blockCount) {
    for (std::size_t block = 0; block < blockCount; ++block) {
      const auto begin = numbers.begin() + static_cast<std::ptrdiff_t>(block * blockSize);
      tree[blockCount + block] = *std::min_element(begin, begin + blockSize);
    }
    for (std::size_t node = blockCount; node-- > 1;) {
      tree[node] = std::min(tree[2 * node], tree[2 * node + 1]);
    }
  }

  // The least of the numbers from begin up to, not including, end. numbers: as given to the
  // constructor.
  std::uint32_t Least(const Numbers& numbers, std::size_t begin, std::size_t end) const noexcept {
    assert(begin <= end && end <= numbers.size() && blockCount == numbers.size() / blockSize);
    std::uint32_t least = none;
    while (begin < end && begin % blockSize != 0) least = std::min(least, numbers[begin++]);
    while (begin < end && end % blockSize != 0) least = std::min(least, numbers[--end]);
    std::size_t first = blockCount + begin / blockSize;
    std::size_t last = blockCount + end / blockSize;
    for (; begin < end && first < last; first /= 2, last /= 2) {
      if (first % 2 != 0) least = std::min(least, tree[first++]);
      if (last % 2 != 0) least = std::min(least, tree[--last]);
    }
    return least;
  }

  // How many numbers it holds itself.
  std::size_t Size() const noexcept { return tree.size(); }

 private:
  static constexpr std::ptrdiff_t blockSize = 16;

  std::size_t blockCount = 0; // whole blocks only
  Numbers tree;               // [blockCount + i]: of block i; [i]: of [2 i] and [2 i + 1]
};

} // namespace Ostrum

#endif
