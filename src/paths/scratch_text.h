// Room for a text of a length that is known only at run time.
#ifndef TARVIK_PATHS_SCRATCH_TEXT_H
#define TARVIK_PATHS_SCRATCH_TEXT_H

#include <cstddef>
#include <memory>

// Holds its bytes, which are not cleared, in place where they fit and else on the heap: paths are short, and an allocation
// for each would cost more than the work on it.
class ScratchText {
 public:
  // size is in bytes, terminating zero included. Throws std::bad_alloc.
  explicit ScratchText(std::size_t size) {
    if (size <= sizeof inPlace) return;
    onHeap = std::make_unique_for_overwrite<char[]>(size);
    data = onHeap.get();
  }
  ScratchText(const ScratchText&) = delete;
  ScratchText& operator=(const ScratchText&) = delete;

  char* Data() noexcept { return data; }

 private:
  char inPlace[512];
  char* data = inPlace;
  std::unique_ptr<char[]> onHeap;
};

#endif
