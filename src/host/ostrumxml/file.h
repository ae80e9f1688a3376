// Reading documents from files and saving them.
#ifndef TARVIK_HOST_OSTRUMXML_FILE_H
#define TARVIK_HOST_OSTRUMXML_FILE_H

#include <functional>
#include <string>
#include <vector>

#include "host/ostrumxml/decode.h"
#include "host/ostrumxml/document.h"
#include "platform/files.h"

namespace Ostrum {

// Turns a file's bytes into others, on their way in or out. False refuses them. May throw std::bad_alloc.
using ByteFilter = bool (*)(const std::string& input, std::string& output);

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

// A change of a document that can be carried out on another document as well.
struct Change {
  std::string target; // equal for changes of which only the first and the last count
  // Throws std::invalid_argument or std::runtime_error, having changed nothing, where the document refuses it.
  std::function<void(Document&)> carryOut;
};

// The file of one document: its absolute name, and its state when it was last read or written. If another program has changed
// the file since, a save does not overwrite it: the changes that have not reached the file yet are carried out on the file's new
// text.
class DocumentFile {
 public:
  // The filters may be null, for a file whose bytes are its text.
  DocumentFile(platform::FileName fileName, ByteFilter decryptBytes, ByteFilter encryptBytes)
      : name(std::move(fileName)), decrypt(decryptBytes), encrypt(encryptBytes) {}

  // Reads the whole file as text, for the document to be parsed from. The text comes in UTF-8, with its byte-order mark if
  // the file was in UTF-8, and its declaration, if there is one, says UTF-8.
  // encoding is not read; it receives the encoding found (NO_ENCODING for one that has no value here). byteCount receives the
  // file's size in bytes. Never throws; text is only changed on success.
  long ReadBufferFromFileNoExp(std::string& text, UTF_ENCODINGS& encoding, unsigned long& byteCount) noexcept;

  // Queues the change for the next save. Call it before changing the document itself, so that running out of memory can't lose a
  // change. Throws std::bad_alloc.
  void Await(Change change);

  // Writes the document, with all that waits, to the file in one atomic step, in UTF-8. Where another program's text was there,
  // a line under "ostrumxml" says what became of it. Throws std::bad_alloc, or an exception that says why not: the file can't
  // be written, it holds another document by now, or it refuses the change that was awaited last (one awaited earlier is then
  // passed over). The file is then whole, and what waits goes on waiting, unless the new file is in place and only the
  // flush of its folder failed.
  void Save(Document& document);

  // What the last save that failed threw; empty if none has failed.
  const std::string& WhyNotSaved() const { return whyNotSaved; }

 private:
  long Decode(std::string&& bytes, std::string& text, UTF_ENCODINGS& encoding) const;
  bool Write(platform::LockedFile& file, const GeneratedText& text) const;
  bool IsAsLeft(const platform::LockedFile& file) const;
  std::unique_ptr<Document> ReadAgain(const platform::LockedFile& file, Document& document) const;
  void CarryOutOn(Document& theirs) const;

  platform::FileName name;
  ByteFilter decrypt;
  ByteFilter encrypt;
  platform::FileState lastSeen;
  bool holdsOwnText = true; // what the file held when it was last seen is what the document held then
  std::vector<Change> waiting;
  std::string whyNotSaved;
};

} // namespace Ostrum

#endif
