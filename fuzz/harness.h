// What the fuzz targets share.
#ifndef TARVIK_FUZZ_HARNESS_H
#define TARVIK_FUZZ_HARNESS_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#define REQUIRE(condition)                                                 \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                        \
    }                                                                      \
  } while (false)

// The bytes of the file of that name, which is in memory: the library reads and writes these instead of the disk's.
std::string& MemoryFile(const std::wstring& name);

// Takes the fuzzer's bytes apart.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : next(data), end(data + size) {}

  bool IsEmpty() const { return next == end; }
  std::uint8_t Byte() { return IsEmpty() ? std::uint8_t{0} : *next++; }
  // At most `most` bytes, without zero bytes.
  std::string Text(std::size_t most) {
    const std::size_t size = std::min({std::size_t{Byte()}, most, static_cast<std::size_t>(end - next)});
    std::string text(next, next + size);
    next += size;
    std::erase(text, '\0');
    return text;
  }
  std::string Rest() const { return {next, end}; }

 private:
  const std::uint8_t* next;
  const std::uint8_t* end;
};

#endif
