#include "host/ostrumxml/file.h"

#include <climits>
#include <new>
#include <stdexcept>
#include <system_error>

#include "corekit/corekit.h"
#include "host/ostrumxml/decode.h"
#include "platform/platform.h"

namespace Ostrum {
namespace {

long Read(const wchar_t* fileName, std::string& text, UTF_ENCODINGS& encoding, unsigned long& byteCount,
          ByteFilter decrypt) {
  platform::ExpectLargeAllocations();
  std::string bytes;
  switch (platform::ReadWholeFile(fileName, INT_MAX, bytes)) {
    case platform::ReadStatus::Done:
      break;
    case platform::ReadStatus::Missing:
      return ReadNoFile;
    case platform::ReadStatus::Unreadable:
      return ReadUnreadable;
    case platform::ReadStatus::TooLong:
      return ReadTooLong;
  }
  byteCount = static_cast<unsigned long>(bytes.size());

  if (decrypt != nullptr) {
    std::string plain;
    if (!decrypt(bytes, plain)) return ReadRefused;
    bytes = std::move(plain);
  }
  std::string decoded;
  if (!DecodeFile(std::move(bytes), decoded, encoding)) return ReadBadEncoding;
  if (decoded.size() > INT_MAX) return ReadTooLong; // the text can be longer than the file
  text = std::move(decoded);
  return ReadDone;
}

// The system's reason would be lost to whoever only learns that the save failed.
void Replace(const wchar_t* fileName, const std::string& bytes) {
  try {
    platform::ReplaceWholeFile(fileName, bytes);
  } catch (const std::system_error& failure) {
    corekit::logDetail(L"ostrumxml", corekit::KString(failure.what()));
    throw;
  }
}

} // namespace

long ReadBufferFromFileNoExp(const wchar_t* fileName, std::string& text, UTF_ENCODINGS& encoding,
                             unsigned long& byteCount, ByteFilter decrypt) noexcept {
  try {
    return Read(fileName, text, encoding, byteCount, decrypt);
  } catch (const std::bad_alloc&) {
    return ReadNoMemory;
  } catch (...) {
    return ReadFailed;
  }
}

void WriteBufferToFile(const wchar_t* fileName, const std::string& text, UTF_ENCODINGS encoding, ByteFilter encrypt,
                       ByteCheck check) {
  if (encoding != UTF_8) throw std::invalid_argument("documents are written in UTF-8 only");
  std::string enciphered;
  if (encrypt != nullptr && !encrypt(text, enciphered)) throw std::runtime_error("the bytes were not enciphered");
  const std::string& bytes = encrypt != nullptr ? enciphered : text;
  if (check != nullptr && !check(bytes)) throw std::runtime_error("the bytes were refused");
  Replace(fileName, bytes);
}

} // namespace Ostrum
