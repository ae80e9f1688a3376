// Reading documents from files and saving them.
#ifndef TARVIK_HOST_OSTRUMXML_FILE_H
#define TARVIK_HOST_OSTRUMXML_FILE_H

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/read/decode.h"
#include "host/ostrumxml/read/read_failure.h"
#include "platform/files.h"

namespace Ostrum {

// Converts a file's bytes when it is read or written. False rejects them. May throw.
using ByteFilter = bool (*)(const std::string& input, std::string& output);

// A file's text for ParseXML: UTF-8, with a byte-order mark if the file is UTF-8 with one. A
// declaration of another encoding is changed to UTF-8.
struct FileText {
  std::string utf8;
  UTF_ENCODINGS encoding = UTF_8; // of the file; NO_ENCODING if it has no value
};

// The text of a file whose bytes were read; whether it is valid, ParseXML checks. decrypt may be
// null. Throws ReadFailure, what the filter throws, and std::bad_alloc.
FileText DecodeBytes(std::string bytes, ByteFilter decrypt);

// Changes that were made to a document and have not reached its file.
class PendingChanges {
 public:
  // Makes the changes in another document: what the file holds by now. Throws, with the reason, to
  // make the save fail; the other document is then discarded. May be called several times, each
  // time with a new document.
  virtual void ApplyTo(Document& other) const = 0;

  // Called by a save once the file holds the changes, even if the save fails after that.
  virtual void HaveReachedFile() noexcept {}

  virtual ~PendingChanges() = default;
};

// The file of one document: its absolute name, and its state when it was last read or written. If
// another program has changed the file since, a save does not overwrite that change: it applies the
// pending changes to the file's new text.
class DocumentFile {
 public:
  // The filters are null for a file that is not encrypted.
  DocumentFile(platform::FileName fileName, ByteFilter decryptBytes, ByteFilter encryptBytes)
      : name(std::move(fileName)), decrypt(decryptBytes), encrypt(encryptBytes) {}

  // Reads the whole file, not decrypted. Throws ReadFailure and std::bad_alloc.
  std::string ReadBytes();
  // Reads, decrypts and decodes the whole file. Throws as ReadBytes and DecodeBytes do.
  FileText Read() { return DecodeBytes(ReadBytes(), decrypt); }

  // Writes the document, which contains the pending changes already, to the file in one atomic
  // step, in UTF-8. If another program has changed the file, a log line of "ostrumxml" tells what
  // was done with its text. While the file is damaged or empty, but was changed less than two
  // seconds ago, waits for the other program to finish. Throws std::bad_alloc, or another exception
  // with the reason: the file cannot be written, it now holds another document, or what ApplyTo
  // threw. The file is then complete, the old or the new one.
  void Save(Document& document, PendingChanges& changes);

 private:
  // Nothing once the file is saved, otherwise how long to wait before the next attempt.
  std::optional<std::chrono::milliseconds> TrySave(platform::LockedFile& file, Document& document,
                                                   PendingChanges& changes);
  std::unique_ptr<Document> ReadAgain(const platform::LockedFile& file, Document& document) const;

  platform::FileName name;
  ByteFilter decrypt;
  ByteFilter encrypt;
  platform::FileState lastSeen;
  bool holdsOwnText = true; // whether the file, when last seen, held the document's text
};

// Replaces the file's bytes, whatever they are, by what the filter makes of them, in one atomic
// step. Throws ReadFailure, also if the filter rejects the bytes, what the filter throws, and
// std::system_error if the file cannot be written.
void RewriteFile(const platform::FileName& name, ByteFilter convert);

} // namespace Ostrum

#endif
