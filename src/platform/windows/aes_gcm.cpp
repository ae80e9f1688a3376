// AES-256-GCM by the system's CNG, in the same layout as on Linux.
#include <windows.h>
// After windows.h, which it needs.
#include <bcrypt.h>

#include <limits>
#include <memory>
#include <new>

#include "platform/platform.h"

namespace platform {
namespace {

// Only lack of memory can cause a failure here, since every system has the algorithm and the mode.
void Require(bool done) {
  if (!done) throw std::bad_alloc();
}

// The functions take pointers to non-const bytes even for input.
UCHAR* Bytes(const void* bytes) noexcept { return static_cast<UCHAR*>(const_cast<void*>(bytes)); }

// Lengths are of type ULONG there, and one call must process the whole text.
ULONG Length(std::string_view text) {
  Require(text.size() <= std::numeric_limits<ULONG>::max());
  return static_cast<ULONG>(text.size());
}

using Provider =
    std::unique_ptr<void, decltype([](void* handle) { BCryptCloseAlgorithmProvider(handle, 0); })>;
using Key = std::unique_ptr<void, decltype([](void* handle) { BCryptDestroyKey(handle); })>;

// Runs BCryptEncrypt or BCryptDecrypt on a whole text in GCM mode and returns its status.
template <class Run>
NTSTATUS Pass(Run run, const std::uint8_t* key, const char* nonce, std::string_view header,
              std::string_view source, char* target, const char* tag) {
  BCRYPT_ALG_HANDLE provider = nullptr;
  Require(BCryptOpenAlgorithmProvider(&provider, BCRYPT_AES_ALGORITHM, nullptr, 0) >= 0);
  const Provider providerOwner(provider);
  Require(BCryptSetProperty(provider, BCRYPT_CHAINING_MODE, Bytes(BCRYPT_CHAIN_MODE_GCM),
                            sizeof BCRYPT_CHAIN_MODE_GCM, 0) >= 0);
  BCRYPT_KEY_HANDLE handle = nullptr;
  Require(BCryptGenerateSymmetricKey(provider, &handle, nullptr, 0, Bytes(key), cipherKeySize, 0) >=
          0);
  const Key keyOwner(handle);

  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO mode;
  BCRYPT_INIT_AUTH_MODE_INFO(mode);
  mode.pbNonce = Bytes(nonce);
  mode.cbNonce = cipherNonceSize;
  mode.pbAuthData = Bytes(header.data());
  mode.cbAuthData = Length(header);
  mode.pbTag = Bytes(tag);
  mode.cbTag = cipherTagSize;
  const ULONG size = Length(source);
  ULONG written = 0;
  return run(handle, Bytes(source.data()), size, &mode, nullptr, 0, Bytes(target), size, &written,
             0);
}

} // namespace

void SealAesGcm(const std::uint8_t* key, const char* nonce, std::string_view header,
                std::string_view plain, char* cipher, char* tag) {
  Require(Pass(&BCryptEncrypt, key, nonce, header, plain, cipher, tag) >= 0);
}

bool OpenAesGcm(const std::uint8_t* key, const char* nonce, std::string_view header,
                std::string_view cipher, const char* tag, char* plain) {
  constexpr auto tagMismatch = static_cast<NTSTATUS>(0xC000A002);
  const NTSTATUS status = Pass(&BCryptDecrypt, key, nonce, header, cipher, plain, tag);
  Require(status >= 0 || status == tagMismatch);
  return status >= 0;
}

} // namespace platform
