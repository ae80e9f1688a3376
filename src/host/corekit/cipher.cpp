#include <algorithm>
#include <array>
#include <mutex>
#include <string_view>

#include "corekit/corekit.h"
#include "platform/platform.h"

namespace corekit {
namespace {

using CipherKey = std::array<std::uint8_t, platform::cipherKeySize>;

// The built-in key keeps a file from being read or changed by accident; callers who need secrecy set their own key.
constinit CipherKey processKey{{
    0x9e, 0x37, 0x8d, 0x37, 0x4a, 0x49, 0x69, 0x33, 0xd7, 0x34, 0x55, 0x18, 0x38, 0x3c, 0x77, 0x7e,
    0x80, 0x44, 0xbc, 0x95, 0xab, 0x66, 0xfe, 0x4d, 0xa2, 0x21, 0xaa, 0xeb, 0x53, 0x15, 0x15, 0x35,
}};
std::mutex keyLock;

CipherKey CurrentKey() noexcept {
  const std::lock_guard<std::mutex> lock(keyLock);
  return processKey;
}

// The parts of an encrypted file, as they follow each other.
constexpr std::string_view header = "TVK1";
constexpr std::size_t nonceAt = header.size();
constexpr std::size_t cipherAt = nonceAt + platform::cipherNonceSize;
constexpr std::size_t addedSize = cipherAt + platform::cipherTagSize;

std::uint8_t* Bytes(std::string& text) noexcept { return reinterpret_cast<std::uint8_t*>(text.data()); }
const std::uint8_t* Bytes(const std::string& text) noexcept {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

bool Encrypt(const std::string& plain, std::string& file) {
  std::string sealed(plain.size() + addedSize, '\0');
  header.copy(sealed.data(), header.size());
  std::uint8_t* const nonce = Bytes(sealed) + nonceAt;
  std::uint8_t* const cipher = Bytes(sealed) + cipherAt;
  if (!platform::FillRandom(nonce, platform::cipherNonceSize)) return false;
  const CipherKey key = CurrentKey();
  platform::SealAesGcm(key.data(), nonce, header, plain, cipher, cipher + plain.size());
  file = std::move(sealed);
  return true;
}

bool Decrypt(const std::string& file, std::string& plain) {
  if (file.size() < addedSize || !file.starts_with(header)) return false;
  const std::string_view cipher = std::string_view(file).substr(cipherAt, file.size() - addedSize);
  const std::uint8_t* const tag = Bytes(file) + cipherAt + cipher.size();
  std::string opened(cipher.size(), '\0');
  const CipherKey key = CurrentKey();
  if (!platform::OpenAesGcm(key.data(), Bytes(file) + nonceAt, header, cipher, tag, Bytes(opened))) return false;
  plain = std::move(opened);
  return true;
}

} // namespace

void SetCipherKey(const std::uint8_t (&key)[platform::cipherKeySize]) noexcept { CorekitSetCipherKey(key); }

// Both work on texts of their own until all has gone well, so input and output may be the same string.
bool KCryptWrap::encrypt_data(const std::string& input, std::string& output) {
  if (Encrypt(input, output)) return true;
  output.clear();
  return false;
}

bool KCryptWrap::decrypt_data(const std::string& input, std::string& output) {
  if (Decrypt(input, output)) return true;
  output.clear();
  return false;
}

} // namespace corekit

void CorekitSetCipherKey(const std::uint8_t* key) {
  if (key == nullptr) return;
  const std::lock_guard<std::mutex> lock(corekit::keyLock);
  std::copy_n(key, platform::cipherKeySize, corekit::processKey.begin());
}
