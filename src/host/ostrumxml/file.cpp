// Reading a document's file and saving it. A save decides under the file's lock, and only from what
// it finds there: whether to write its own text, to merge, or to wait for another program. The lock
// is given back for every wait, because the other program may need it to finish.
#include "host/ostrumxml/file.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <climits>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>

#include "corekit/corekit.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/read/decode.h"
#include "host/ostrumxml/save/generator.h"
#include "platform/platform.h"

namespace Ostrum {
namespace {

void Log(const wchar_t* line) noexcept { corekit::logDetail(L"ostrumxml", line); }

// The system's reason, as far as it can be found out afterwards.
std::string WhyUnreadable(const platform::FileName& name) {
  std::error_code failure;
  const std::filesystem::file_status status = std::filesystem::status(name, failure);
  if (!failure && is_directory(status)) return "is a directory";
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

// Calls the attempt with the locked file until it is done. Between two attempts the file is not
// locked, so that another program can finish its change. Throws std::runtime_error if that takes
// too long.
template <class Try>
void RetryUntilDone(const platform::FileName& name, Try attempt) {
  constexpr auto pause = std::chrono::milliseconds(20);
  const platform::Deadline deadline = std::chrono::steady_clock::now() + platform::maxSaveWait;
  for (;;) {
    auto result = SaveAttempt::Done;
    {
      platform::LockedFile file(name, deadline);
      result = attempt(file);
    }
    if (result == SaveAttempt::Done) return;
    if (std::chrono::steady_clock::now() >= deadline)
      throw std::runtime_error("another program keeps changing the file");
    if (result == SaveAttempt::FileIsBeingWritten) std::this_thread::sleep_for(pause);
  }
}

void LogOutcome(SaveOutcome outcome) noexcept {
  if (outcome == SaveOutcome::WroteOverDamage)
    Log(L"The file was no longer well-formed: the document was written over it");
  if (outcome == SaveOutcome::Merged)
    Log(L"The save was merged with what another program had written to the file");
}

} // namespace

FileText DecodeBytes(std::string bytes, ByteFilter decrypt) {
  if (decrypt != nullptr && !decrypt(bytes, bytes))
    throw ReadFailure(ReadRefused, "is damaged, encrypted with another key, or not encrypted");
  FileText text;
  if (const auto failure = DecodeFile(std::move(bytes), text.utf8, text.encoding)) {
    if (!failure->offset) throw ReadFailure(ReadBadEncoding, failure->reason);
    // DecodeFile takes the bytes only if it succeeds.
    const std::string_view all = bytes; // NOLINT(bugprone-use-after-move)
    assert(*failure->offset <= all.size());
    const std::string_view before = all.substr(0, *failure->offset);
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 in the first line
    throw ReadFailure(ReadBadEncoding, failure->reason,
                      static_cast<int>(std::ranges::count(before, '\n')) + 1,
                      static_cast<int>(before.size() - lineStart) + 1);
  }
  // Decoded text can be longer than the file.
  if (text.utf8.size() > INT_MAX) throw ReadFailure(ReadTooLong, "is longer than 2 GB in UTF-8");
  return text;
}

std::string DocumentFile::ReadBytes() {
  std::string bytes;
  RequireDone(platform::ReadWholeFile(name, INT_MAX, bytes, lastSeen), name);
  return bytes;
}

SaveOutcome DocumentFile::Save(Document& document, PendingChanges& changes) {
  auto outcome = SaveOutcome::WroteOwnText;
  RetryUntilDone(
      name, [&](platform::LockedFile& file) { return TrySave(file, document, changes, outcome); });
  return outcome;
}

SaveAttempt DocumentFile::TrySave(platform::LockedFile& file, Document& document,
                                  PendingChanges& changes, SaveOutcome& outcome) {
  assert(!document.GetRoot().IsNull());
  const bool isAsLeft = IsAsLeft(file);
  const std::unique_ptr<Document> theirs = isAsLeft ? nullptr : ReadAgain(file, document);
  if (!isAsLeft && !theirs && file.State()->isYoung) return SaveAttempt::FileIsBeingWritten;

  outcome = isAsLeft ? SaveOutcome::WroteOwnText : SaveOutcome::WroteOverDamage;
  const GeneratedText own = document.Generate();
  if (theirs) {
    changes.ApplyTo(*theirs);
    const GeneratedText merged = theirs->Generate();
    outcome = merged == own ? SaveOutcome::WroteOwnText : SaveOutcome::Merged;
    if (!Write(file, merged, nullptr)) return SaveAttempt::FileHasChanged;
  } else if (!Write(file, own, LastAccess(file))) {
    return SaveAttempt::FileHasChanged;
  }
  lastSeen = *file.State();
  holdsOwnText = outcome != SaveOutcome::Merged;
  changes.HaveReachedFile();
  LogOutcome(outcome);
  file.FlushFolder();
  return SaveAttempt::Done;
}

bool DocumentFile::Write(platform::LockedFile& file, const GeneratedText& text,
                         const platform::Access* access) const {
  if (encrypt == nullptr) return file.Replace(text.Pieces(), access);
  std::string encrypted;
  if (!encrypt(text.Joined(), encrypted)) throw std::runtime_error("cannot encrypt the document");
  return file.Replace({encrypted}, access);
}

// The access of the file that the document knows, if that is gone or another file is in its place.
// Null if it is still there, since its access may have been changed on purpose.
const platform::Access* DocumentFile::LastAccess(const platform::LockedFile& file) const {
  const std::optional<platform::FileState>& found = file.State();
  const bool isSameFile = found && found->identity.IsSameFile(lastSeen.identity);
  if (isSameFile) return nullptr;
  return lastSeen.access.get();
}

// Also true if the file is gone, since then writing the document's own text loses nothing.
bool DocumentFile::IsAsLeft(const platform::LockedFile& file) const {
  if (!file.State()) return true;
  return holdsOwnText && lastSeen.isSettled && file.State()->identity == lastSeen.identity;
}

// Null if there is nothing to merge with, or while the file is so young that its damage may be that
// of a file half written. Throws if the file holds another document, which is assumed for a
// well-formed text that exceeds a limit.
std::unique_ptr<Document> DocumentFile::ReadAgain(const platform::LockedFile& file,
                                                  Document& document) const {
  std::string bytes;
  RequireDone(file.Read(INT_MAX, bytes), name);
  if (bytes.empty()) return nullptr;
  std::string text;
  try {
    text = DecodeBytes(std::move(bytes), decrypt).utf8;
  } catch (const ReadFailure&) {
    if (file.State()->isYoung) return nullptr;
    throw;
  }
  const auto length = static_cast<int>(text.size());
  PARSER_ERROR error = NO_PARSER_ERROR;
  int line = 0;
  int column = 0;
  std::unique_ptr<Document> theirs(ParseXML(std::move(text), length, error, line, column));
  if (error == NO_PARSER_MEMORY) throw std::bad_alloc();
  if (IsIllFormed(error)) return nullptr;
  if (!theirs || theirs->GetRoot().GetName() != document.GetRoot().GetName()) {
    throw std::runtime_error("the file now holds another document");
  }
  return theirs;
}

void RewriteFile(const platform::FileName& name, ByteFilter convert) {
  RetryUntilDone(name, [&](platform::LockedFile& file) {
    std::string bytes;
    RequireDone(file.State() ? file.Read(INT_MAX, bytes) : platform::ReadStatus::Missing, name);
    std::string converted;
    if (!convert(bytes, converted)) throw ReadFailure(ReadRefused, "cannot be converted");
    if (!file.Replace({converted}, nullptr)) return SaveAttempt::FileHasChanged;
    file.FlushFolder();
    return SaveAttempt::Done;
  });
}

} // namespace Ostrum
