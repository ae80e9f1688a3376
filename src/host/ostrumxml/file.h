// Documents in and out of files.
#ifndef TARVIK_HOST_OSTRUMXML_FILE_H
#define TARVIK_HOST_OSTRUMXML_FILE_H

#include <string>

#include "host/ostrumxml/encoding.h"

namespace Ostrum {

// Turns a file's bytes into others, on their way in or out. False refuses them.
using ByteFilter = bool (*)(const std::string& input, std::string& output);
using ByteCheck = bool (*)(const std::string& bytes);

// Why a file was not read. 0 and above is success.
enum ReadResult : long {
  ReadDone = 0,
  ReadFailed = -2, // an unexpected exception
  ReadNoMemory = -3,
  ReadUnreadable = -42,  // there, but not to be read: permission, a folder, an I/O error
  ReadNoFile = -44,      // no file of that name
  ReadBadEncoding = -45, // not valid in the encoding that it claims, or in one that is not supported
  ReadRefused = -46,     // the decrypt filter refused the bytes
  ReadTooLong = -47,     // longer than a length of type int can say
};

// Reads a whole file as text, through the decrypt filter if there is one. Understood are UTF-8 with or without byte-order
// mark, UTF-16 with one, and what the XML declaration names where the system knows it and ASCII stands for itself in it. The
// text comes in UTF-8, with its byte-order mark if the file was in UTF-8, and its declaration, if there is one, says UTF-8.
// encoding is not read; it receives the encoding found (UTF_8, UTF_16B, UTF_16L, US_ASCII; NO_ENCODING for others, which
// have no value here). byteCount receives the file's size in bytes. Never throws; text is only changed on success.
long ReadBufferFromFileNoExp(const wchar_t* fileName, std::string& text, UTF_ENCODINGS& encoding,
                             unsigned long& byteCount, ByteFilter decrypt) noexcept;

// Replaces the file's content with the text in UTF-8, through the encrypt filter if there is one, in one atomic step.
// encoding must be UTF_8. check, when given, is asked about the final bytes and can refuse them.
// Throws std::runtime_error when the bytes are refused or not written, std::bad_alloc; the old file is then whole.
void WriteBufferToFile(const wchar_t* fileName, const std::string& text, UTF_ENCODINGS encoding, ByteFilter encrypt,
                       ByteCheck check);

} // namespace Ostrum

#endif
