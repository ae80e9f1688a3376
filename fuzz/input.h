// Takes a fuzzer's bytes apart.
#ifndef TARVIK_FUZZ_INPUT_H
#define TARVIK_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : next(data), end(data + size) {}

  bool IsEmpty() const { return next == end; }
  std::uint8_t Byte() { return IsEmpty() ? std::uint8_t{0} : *next++; }
  // At most `most` bytes, without zero bytes.
  std::string Text(std::size_t most) {
    const std::size_t size = std::min({static_cast<std::size_t>(Byte()), most, static_cast<std::size_t>(end - next)});
    std::string text(next, next + size);
    next += size;
    std::erase(text, '\0');
    return text;
  }
  std::string Rest() { return {next, end}; }

 private:
  const std::uint8_t* next;
  const std::uint8_t* end;
};

#define REQUIRE(condition)                                                 \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                        \
    }                                                                      \
  } while (false)

#endif
