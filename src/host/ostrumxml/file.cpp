// Reading a document's file and saving it. A save decides under the file's lock, and only from what
// it finds there: whether to write its own text, to merge, or to wait for another program. The lock
// is given back for every wait, because the other program may need it to finish.
#include "host/ostrumxml/file.h"

#include <cassert>
#include <cerrno>
#include <climits>
#include <fstream>
#include <system_error>
#include <thread>

#include "corekit/corekit.h"
#include "host/ostrumxml/save/generator.h"

namespace Ostrum {
namespace {

void Log(const wchar_t* line) noexcept { corekit::logDetail(L"ostrumxml", line); }

// The system's reason, as far as it can be found out afterwards.
std::string WhyUnreadable(const platform::FileName& name) {
  std::error_code failure;
  const std::filesystem::file_status status = std::filesystem::status(name, failure);
  if (is_directory(status)) return "is a directory";
  if (!failure && !is_regular_file(status)) return "is not a regular file";
  if (!failure && !std::ifstream(name)) failure.assign(errno, std::generic_category());
  if (!failure) return "cannot be read";
  return "cannot be read: " + failure.message();
}

void RequireDone(platform::ReadStatus status, const platform::FileName& name) {
  using platform::ReadStatus;
  if (status == ReadStatus::Missing) throw ReadFailure(ReadNoFile, "does not exist");
  if (status == ReadStatus::Unreadable) throw ReadFailure(ReadUnreadable, WhyUnreadable(name));
  if (status == ReadStatus::TooLong) throw ReadFailure(ReadTooLong, "is longer than 2 GB");
}

using Pause = std::optional<std::chrono::milliseconds>;

// Calls the attempt with the locked file until it returns nothing. Otherwise it returns how long
// the file is then left unlocked, so that another program can finish its change. Throws
// std::runtime_error if that takes too long.
template <class Try>
void RetryUntilDone(const platform::FileName& name, Try attempt) {
  const platform::Deadline deadline = std::chrono::steady_clock::now() + platform::maxSaveWait;
  while (const Pause pause = attempt(platform::LockedFile(name, deadline))) {
    if (std::chrono::steady_clock::now() >= deadline)
      throw std::runtime_error("another program keeps changing the file");
    std::this_thread::sleep_for(*pause);
  }
}

// See LockedFile::Replace. encrypt may be null.
bool Replace(platform::LockedFile& file, const GeneratedText& text, ByteFilter encrypt,
             const platform::Access* access) {
  if (encrypt == nullptr) return file.Replace(text.Pieces(), access);
  std::string encrypted;
  if (!encrypt(text.Joined(), encrypted)) throw std::runtime_error("cannot encrypt the document");
  return file.Replace({encrypted}, access);
}

} // namespace

FileText DecodeBytes(std::string bytes, ByteFilter decrypt) {
  if (decrypt != nullptr && !decrypt(bytes, bytes))
    throw ReadFailure(ReadRefused, "is damaged, encrypted with another key, or not encrypted");
  FileText text;
  text.utf8 = DecodeFile(std::move(bytes), text.encoding);
  // Decoded text can be longer than the file.
  if (text.utf8.size() > INT_MAX) throw ReadFailure(ReadTooLong, "is longer than 2 GB in UTF-8");
  return text;
}

std::string DocumentFile::ReadBytes() {
  std::string bytes;
  RequireDone(platform::ReadWholeFile(name, INT_MAX, bytes, lastSeen), name);
  return bytes;
}

void DocumentFile::Save(Document& document, PendingChanges& changes) {
  RetryUntilDone(name,
                 [&](platform::LockedFile&& file) { return TrySave(file, document, changes); });
}

Pause DocumentFile::TrySave(platform::LockedFile& file, Document& document,
                            PendingChanges& changes) {
  assert(!document.GetRoot().IsNull());
  const std::optional<platform::FileState>& found = file.State();
  // If the file is gone, writing the document's own text loses nothing.
  const bool isAsLeft =
      !found || (holdsOwnText && lastSeen.isSettled && found->identity == lastSeen.identity);
  const std::unique_ptr<Document> theirs = isAsLeft ? nullptr : ReadAgain(file, document);
  const bool isDamaged = !isAsLeft && !theirs;
  if (isDamaged && found->isYoung) return std::chrono::milliseconds(20);

  if (theirs) changes.ApplyTo(*theirs);
  const GeneratedText text = (theirs ? *theirs : document).Generate();
  const bool isMerged = theirs && text != document.Generate();
  // If the known file is gone or another is in its place, the new file gets the access that was
  // last known. That of a file that is merged, or still the known one, may be so on purpose.
  const bool keepsAccess = theirs || (found && found->identity.IsSameFile(lastSeen.identity));
  if (!Replace(file, text, encrypt, keepsAccess ? nullptr : lastSeen.access.get()))
    return std::chrono::milliseconds(0);

  lastSeen = *file.State();
  holdsOwnText = !isMerged;
  changes.HaveReachedFile();
  if (isDamaged) Log(L"The file was no longer well-formed: the document was written over it");
  if (isMerged) Log(L"The save was merged with what another program had written to the file");
  file.FlushFolder();
  return {};
}

// Null if there is nothing to merge with, or while the file is so young that its damage may be that
// of a file half written. Throws if the file holds another document, which is assumed for a
// well-formed text that exceeds a limit.
std::unique_ptr<Document> DocumentFile::ReadAgain(const platform::LockedFile& file,
                                                  Document& document) const {
  std::string bytes;
  RequireDone(file.Read(INT_MAX, bytes), name);
  if (bytes.empty()) return nullptr;
  PARSER_ERROR error = NO_PARSER_ERROR;
  std::unique_ptr<Document> theirs;
  try {
    std::string text = DecodeBytes(std::move(bytes), decrypt).utf8;
    const auto length = static_cast<int>(text.size());
    int line = 0;
    int column = 0;
    theirs.reset(ParseXML(std::move(text), length, error, line, column));
  } catch (const ReadFailure&) {
    if (file.State()->isYoung) return nullptr;
    throw;
  }
  if (error == NO_PARSER_MEMORY) throw std::bad_alloc();
  if (IsIllFormed(error)) return nullptr;
  if (!theirs || theirs->GetRoot().GetName() != document.GetRoot().GetName()) {
    throw std::runtime_error("the file now holds another document");
  }
  return theirs;
}

void RewriteFile(const platform::FileName& name, ByteFilter convert) {
  RetryUntilDone(name, [&](platform::LockedFile&& file) -> Pause {
    std::string bytes;
    RequireDone(file.State() ? file.Read(INT_MAX, bytes) : platform::ReadStatus::Missing, name);
    std::string converted;
    if (!convert(bytes, converted)) throw ReadFailure(ReadRefused, "cannot be converted");
    if (!file.Replace({converted}, nullptr)) return std::chrono::milliseconds(0);
    file.FlushFolder();
    return {};
  });
}

} // namespace Ostrum
