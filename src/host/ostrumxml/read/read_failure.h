#ifndef TARVIK_HOST_OSTRUMXML_READ_READ_FAILURE_H
#define TARVIK_HOST_OSTRUMXML_READ_READ_FAILURE_H

#include <stdexcept>
#include <string>

namespace Ostrum {

enum ReadResult : long {
  ReadFailed = -2, // an unexpected exception
  ReadNoMemory = -3,
  ReadUnreadable = -42,  // no permission, not a regular file, or an I/O error
  ReadNoFile = -44,      // no file of that name
  ReadBadEncoding = -45, // unsupported or invalid encoding
  ReadRefused = -46,     // the decrypt filter rejected the bytes
  ReadTooLong = -47,     // longer than INT_MAX bytes
};

// Why a file or bytes cannot be read. what() continues a sentence that begins with the file's name,
// "is a directory", in the locale's character set.
class ReadFailure : public std::runtime_error {
 public:
  ReadFailure(ReadResult why, const std::string& words, int atLine = 0, int atColumn = 0)
      : std::runtime_error(words), result(why), line(atLine), column(atColumn) {}

  const ReadResult result;
  // The place of the first invalid byte, both from 1, in bytes; 0 if the failure has no place.
  const int line;
  const int column;
};

} // namespace Ostrum

#endif
