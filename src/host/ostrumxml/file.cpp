#include "host/ostrumxml/file.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <new>
#include <stdexcept>

#include "corekit/corekit.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/read/decode.h"
#include "host/ostrumxml/save/generator.h"
#include "platform/platform.h"

namespace Ostrum {
namespace {

void Log(const wchar_t* line) noexcept { corekit::logDetail(L"ostrumxml", line); }

} // namespace

long DocumentFile::ReadBufferFromFileNoExp(std::string& text, UTF_ENCODINGS& encoding,
                                           unsigned long& byteCount) noexcept try {
  platform::ExpectLargeAllocations();
  std::string bytes;
  const platform::ReadStatus status = platform::ReadWholeFile(name, INT_MAX, bytes, lastSeen);
  if (status == platform::ReadStatus::Missing) return ReadNoFile;
  if (status == platform::ReadStatus::Unreadable) return ReadUnreadable;
  if (status == platform::ReadStatus::TooLong) return ReadTooLong;
  byteCount = static_cast<unsigned long>(bytes.size());
  return Decode(std::move(bytes), text, encoding);
} catch (const std::bad_alloc&) {
  return ReadNoMemory;
} catch (...) {
  return ReadFailed;
}

long DocumentFile::Decode(std::string&& bytes, std::string& text, UTF_ENCODINGS& encoding) const {
  if (decrypt != nullptr && !decrypt(bytes, bytes)) return ReadRefused;
  std::string decoded;
  if (const auto failure = DecodeFile(std::move(bytes), decoded, encoding)) {
    Log(corekit::KString(failure->reason.c_str()));
    return ReadBadEncoding;
  }
  if (decoded.size() > INT_MAX) return ReadTooLong; // decoded text can be longer than the file
  text = std::move(decoded);
  return ReadDone;
}

void DocumentFile::Await(Change change) {
  waiting.reserve(waiting.size() + 1);
  // Setting an item repeatedly while the file cannot be written must not fill the memory. The first
  // change is kept, because it creates elements that later changes need.
  const auto isEarlier = [&](const Change& earlier) { return earlier.target == change.target; };
  const auto first = std::find_if(waiting.begin(), waiting.end(), isEarlier);
  if (first != waiting.end())
    waiting.erase(std::remove_if(first + 1, waiting.end(), isEarlier), waiting.end());
  waiting.push_back(std::move(change));
}

void DocumentFile::Save(Document& document) try {
  constexpr int mostLooks = 100;
  const auto deadline = std::chrono::steady_clock::now() + platform::maxSaveWait;
  for (int looks = 0; looks < mostLooks; ++looks) {
    platform::LockedFile file(name, deadline);
    const bool isAsLeft = IsAsLeft(file);
    const std::unique_ptr<Document> theirs = isAsLeft ? nullptr : ReadAgain(file, document);
    if (theirs) CarryOutOn(*theirs);
    const bool writesOwnText = !theirs || theirs->GenerateXML(false) == document.GenerateXML(false);
    // Write returns false if another program has changed or created the file since it was examined.
    if (!Write(file, theirs ? theirs->Generate() : document.Generate(),
               theirs ? nullptr : LastAccess(file)))
      continue;

    lastSeen = *file.State();
    holdsOwnText = writesOwnText;
    waiting.clear();
    if (!isAsLeft && !theirs)
      Log(L"The file was no longer well-formed: the document was written over it");
    if (!holdsOwnText)
      Log(L"The save was merged with what another program had written to the file");
    return file.FlushFolder();
  }
  throw std::runtime_error("another program keeps changing the file");
} catch (const std::exception& reason) {
  whyNotSaved = reason.what();
  throw;
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
  const bool isSameFile = found && found->identity.device == lastSeen.identity.device &&
                          found->identity.number == lastSeen.identity.number;
  return isSameFile ? nullptr : lastSeen.access.get();
}

// Also true if the file is gone, since then writing the document's own text loses nothing.
bool DocumentFile::IsAsLeft(const platform::LockedFile& file) const {
  if (!file.State()) return true;
  return holdsOwnText && lastSeen.isSettled && file.State()->identity == lastSeen.identity;
}

// Null if there is nothing to merge with. Throws if the file holds another document, which is
// assumed for a well-formed text that exceeds a limit.
std::unique_ptr<Document> DocumentFile::ReadAgain(const platform::LockedFile& file,
                                                  Document& document) const {
  std::string bytes;
  if (file.Read(INT_MAX, bytes) != platform::ReadStatus::Done)
    throw std::runtime_error("cannot read the file again");
  if (bytes.empty()) return nullptr;
  std::string text;
  UTF_ENCODINGS encoding = UTF_8;
  if (Decode(std::move(bytes), text, encoding) != ReadDone) {
    throw std::runtime_error("the file can no longer be decrypted or decoded");
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

void DocumentFile::CarryOutOn(Document& theirs) const {
  for (const Change& change : waiting) {
    try {
      change.carryOut(theirs);
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception&) {
      if (&change == &waiting.back()) throw;
    }
  }
}

} // namespace Ostrum
