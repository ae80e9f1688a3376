// Reading documents from files and saving them.
#ifndef TARVIK_HOST_OSTRUMXML_FILE_H
#define TARVIK_HOST_OSTRUMXML_FILE_H

#include <functional>
#include <string>
#include <vector>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/read/decode.h"
#include "platform/files.h"

namespace Ostrum {

// Converts a file's bytes when it is read or written. False rejects them. May throw std::bad_alloc.
using ByteFilter = bool (*)(const std::string& input, std::string& output);

// Why a file could not be read. Values of 0 and above mean success.
enum ReadResult : long {
  ReadDone = 0,
  ReadFailed = -2, // an unexpected exception
  ReadNoMemory = -3,
  ReadUnreadable =
      -42, // exists, but there is no permission, it is not a regular file, or an I/O error occurred
  ReadNoFile = -44,      // no file of that name
  ReadBadEncoding = -45, // unsupported or invalid encoding
  ReadRefused = -46,     // the decrypt filter rejected the bytes
  ReadTooLong = -47,     // longer than INT_MAX
};

// A change of a document that can also be applied to another document.
struct Change {
  std::string target; // of changes with equal targets, only the first and the last count
  // If the document does not allow the change, throws std::invalid_argument or std::runtime_error
  // and changes nothing.
  std::function<void(Document&)> carryOut;
};

// The file of one document: its absolute name, and its state when it was last read or written. If
// another program has changed the file since, a save does not overwrite that change: it applies the
// unsaved changes to the file's new text.
class DocumentFile {
 public:
  // The filters are null for a file that is not encrypted.
  DocumentFile(platform::FileName fileName, ByteFilter decryptBytes, ByteFilter encryptBytes)
      : name(std::move(fileName)), decrypt(decryptBytes), encrypt(encryptBytes) {}

  // Reads the whole file as text for ParseXML. The text is UTF-8, with a byte-order mark if the
  // file is UTF-8 with one; a declaration of another encoding is changed to UTF-8. encoding is
  // output only: the encoding found (NO_ENCODING if it has no value). byteCount receives the file's
  // size in bytes. Never throws; text is changed on success only.
  long ReadBufferFromFileNoExp(std::string& text, UTF_ENCODINGS& encoding,
                               unsigned long& byteCount) noexcept;

  // Queues the change for the next save. Call it before changing the document, so that running out
  // of memory cannot lose a change. Throws std::bad_alloc.
  void Await(Change change);

  // Writes the document, with all queued changes, to the file in one atomic step, in UTF-8. If
  // another program has changed the file, a log line of "ostrumxml" tells what was done with its
  // text. Throws std::bad_alloc, or another exception with the reason: the file cannot be written,
  // it now holds another document, or its text does not allow the last queued change (an earlier
  // one is then skipped). The file is then complete, and the queued changes stay queued, unless the
  // new file is in place and only flushing its folder failed.
  void Save(Document& document);

  // The message of the exception that the last failed save threw; empty if none has failed.
  const std::string& WhyNotSaved() const { return whyNotSaved; }

 private:
  long Decode(std::string&& bytes, std::string& text, UTF_ENCODINGS& encoding) const;
  bool Write(platform::LockedFile& file, const GeneratedText& text,
             const platform::Access* access) const;
  const platform::Access* LastAccess(const platform::LockedFile& file) const;
  bool IsAsLeft(const platform::LockedFile& file) const;
  std::unique_ptr<Document> ReadAgain(const platform::LockedFile& file, Document& document) const;
  void CarryOutOn(Document& theirs) const;

  platform::FileName name;
  ByteFilter decrypt;
  ByteFilter encrypt;
  platform::FileState lastSeen;
  bool holdsOwnText = true; // whether the file, when last seen, held the document's text
  std::vector<Change> waiting;
  std::string whyNotSaved;
};

} // namespace Ostrum

#endif
