#include <windows.h>
// After windows.h, which it needs.
#include <bcrypt.h>

#include <limits>

#include "platform/platform.h"

namespace platform {
namespace {

// One key in Windows' AES provider, in the mode that also authenticates.
class GcmKey {
 public:
  explicit GcmKey(const std::uint8_t* key) noexcept {
    if (BCryptOpenAlgorithmProvider(&provider, BCRYPT_AES_ALGORITHM, nullptr, 0) < 0) return;
    if (BCryptSetProperty(provider, BCRYPT_CHAINING_MODE, Input(BCRYPT_CHAIN_MODE_GCM), sizeof BCRYPT_CHAIN_MODE_GCM,
                          0) < 0) {
      return;
    }
    if (BCryptGenerateSymmetricKey(provider, &handle, nullptr, 0, Input(key), cipherKeySize, 0) < 0) handle = nullptr;
  }
  ~GcmKey() {
    if (handle != nullptr) BCryptDestroyKey(handle);
    if (provider != nullptr) BCryptCloseAlgorithmProvider(provider, 0);
  }
  GcmKey(const GcmKey&) = delete;
  GcmKey& operator=(const GcmKey&) = delete;

  BCRYPT_KEY_HANDLE Handle() const noexcept { return handle; } // null when the provider failed

  // The functions take what they only read as pointers to changeable bytes.
  static UCHAR* Input(const void* bytes) noexcept { return static_cast<UCHAR*>(const_cast<void*>(bytes)); }

 private:
  BCRYPT_ALG_HANDLE provider = nullptr;
  BCRYPT_KEY_HANDLE handle = nullptr;
};

// Lengths are ULONG there, and one call must take the whole text.
bool Fits(std::string_view text) noexcept { return text.size() <= std::numeric_limits<ULONG>::max(); }

BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO Mode(const std::uint8_t* nonce, std::string_view header,
                                           const std::uint8_t* tag) noexcept {
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO mode;
  BCRYPT_INIT_AUTH_MODE_INFO(mode);
  mode.pbNonce = GcmKey::Input(nonce);
  mode.cbNonce = cipherNonceSize;
  mode.pbAuthData = GcmKey::Input(header.data());
  mode.cbAuthData = static_cast<ULONG>(header.size());
  mode.pbTag = GcmKey::Input(tag);
  mode.cbTag = cipherTagSize;
  return mode;
}

} // namespace

bool SealAesGcm(const std::uint8_t* key, const std::uint8_t* nonce, std::string_view header, std::string_view plain,
                std::uint8_t* cipher, std::uint8_t* tag) noexcept {
  const GcmKey gcmKey(key);
  if (gcmKey.Handle() == nullptr || !Fits(header) || !Fits(plain)) return false;
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO mode = Mode(nonce, header, tag);
  const auto size = static_cast<ULONG>(plain.size());
  ULONG written = 0;
  return BCryptEncrypt(gcmKey.Handle(), GcmKey::Input(plain.data()), size, &mode, nullptr, 0, cipher, size, &written,
                       0) >= 0 &&
         written == size;
}

bool OpenAesGcm(const std::uint8_t* key, const std::uint8_t* nonce, std::string_view header, std::string_view cipher,
                const std::uint8_t* tag, std::uint8_t* plain) noexcept {
  const GcmKey gcmKey(key);
  if (gcmKey.Handle() == nullptr || !Fits(header) || !Fits(cipher)) return false;
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO mode = Mode(nonce, header, tag);
  const auto size = static_cast<ULONG>(cipher.size());
  ULONG written = 0;
  return BCryptDecrypt(gcmKey.Handle(), GcmKey::Input(cipher.data()), size, &mode, nullptr, 0, plain, size, &written,
                       0) >= 0 &&
         written == size;
}

} // namespace platform
