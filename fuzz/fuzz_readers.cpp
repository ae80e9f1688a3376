// Takes any bytes as a document's text. If the plain reader accepts it, the parser must, and both
// must build the same index.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "ostrumxml/both_readers.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (CompareReaders(std::string(data, data + size)) == Comparison::Different) std::abort();
  return 0;
}
