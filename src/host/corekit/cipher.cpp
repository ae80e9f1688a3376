// The file cipher: only the layout of an encrypted file stands here. The encryption itself is the
// system's, and whatever it cannot do is a refusal, never a weaker way.
#include <algorithm>
#include <array>
#include <mutex>
#include <string_view>

#include "corekit/corekit.h"
#include "platform/platform.h"

namespace corekit {
namespace {

using platform::CipherTask;
using CipherKey = std::array<std::uint8_t, platform::cipherKeySize>;

// The built-in key only prevents reading or changing a file by accident; callers who need secrecy
// set their own key.
constinit CipherKey processKey{{
    0x9e, 0x37, 0x8d, 0x37, 0x4a, 0x49, 0x69, 0x33, 0xd7, 0x34, 0x55, 0x18, 0x38, 0x3c, 0x77, 0x7e,
    0x80, 0x44, 0xbc, 0x95, 0xab, 0x66, 0xfe, 0x4d, 0xa2, 0x21, 0xaa, 0xeb, 0x53, 0x15, 0x15, 0x35,
}};
std::mutex keyLock;

// A copy, so that the lock is not held while a file is processed.
CipherKey CurrentKey() noexcept {
  const std::lock_guard<std::mutex> lock(keyLock);
  return processKey;
}

// The parts of an encrypted file, in order.
constexpr std::string_view header = "TVK1";
constexpr std::size_t nonceAt = header.size();
constexpr std::size_t cipherAt = nonceAt + platform::cipherNonceSize;
constexpr std::size_t addedSize = cipherAt + platform::cipherTagSize;
static_assert(cipherAt == 16 && addedSize == 32, "every version reads the files of every other");

} // namespace

void SetCipherKey(const std::uint8_t (&key)[platform::cipherKeySize]) noexcept {
  CorekitSetCipherKey(key);
}

// Both change output only at the end, so input and output may be the same string.
bool KCryptWrap::encrypt_data(const std::string& input, std::string& output) {
  std::string file(header);
  file.resize(input.size() + addedSize);
  char* const nonce = file.data() + nonceAt;
  char* const cipher = file.data() + cipherAt;
  if (platform::FillRandom(nonce, platform::cipherNonceSize)) {
    platform::RunAesGcm(CipherTask::Seal, CurrentKey().data(), nonce, header, input, cipher,
                        cipher + input.size());
  } else {
    file.clear();
  }
  output = std::move(file);
  return !output.empty();
}

bool KCryptWrap::decrypt_data(const std::string& input, std::string& output) {
  std::string plain;
  bool isWhole = input.size() >= addedSize && input.starts_with(header);
  if (isWhole) {
    plain.resize(input.size() - addedSize);
    const std::string_view file(input), cipher = file.substr(cipherAt, plain.size());
    char tag[platform::cipherTagSize];
    file.copy(tag, sizeof tag, cipherAt + plain.size());
    isWhole = platform::RunAesGcm(CipherTask::Open, CurrentKey().data(), file.data() + nonceAt,
                                  header, cipher, plain.data(), tag);
  }
  if (!isWhole) plain.clear();
  output = std::move(plain);
  return isWhole;
}

} // namespace corekit

void CorekitSetCipherKey(const std::uint8_t* key) {
  if (key == nullptr) return;
  const std::lock_guard<std::mutex> lock(corekit::keyLock);
  std::copy_n(key, platform::cipherKeySize, corekit::processKey.begin());
}
