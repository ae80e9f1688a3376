// AES-256-GCM by the system's CNG, in the same layout as on Linux.
#include <windows.h>
// After windows.h, which it needs.
#include <bcrypt.h>

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

} // namespace

bool RunAesGcm(CipherTask task, const std::uint8_t* key, const char* nonce, std::string_view header,
               std::string_view source, char* target, char* tag) {
  BCRYPT_ALG_HANDLE provider = nullptr;
  Require(BCryptOpenAlgorithmProvider(&provider, BCRYPT_AES_ALGORITHM, nullptr, 0) >= 0);
  const std::shared_ptr<void> providerOwner(provider,
                                            [](void* it) { BCryptCloseAlgorithmProvider(it, 0); });
  Require(BCryptSetProperty(provider, BCRYPT_CHAINING_MODE, Bytes(BCRYPT_CHAIN_MODE_GCM),
                            sizeof BCRYPT_CHAIN_MODE_GCM, 0) >= 0);
  BCRYPT_KEY_HANDLE handle = nullptr;
  Require(BCryptGenerateSymmetricKey(provider, &handle, nullptr, 0, Bytes(key), cipherKeySize, 0) >=
          0);
  const std::shared_ptr<void> keyOwner(handle, &BCryptDestroyKey);

  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO mode;
  BCRYPT_INIT_AUTH_MODE_INFO(mode);
  mode.pbNonce = Bytes(nonce);
  mode.cbNonce = cipherNonceSize;
  mode.pbAuthData = Bytes(header.data());
  mode.cbAuthData = static_cast<ULONG>(header.size());
  mode.pbTag = Bytes(tag);
  mode.cbTag = cipherTagSize;
  // Lengths are of type ULONG there, and one call must process the whole text.
  const auto size = static_cast<ULONG>(source.size());
  Require(size == source.size());
  ULONG written = 0;
  const auto run = task == CipherTask::Seal ? &BCryptEncrypt : &BCryptDecrypt;
  const NTSTATUS status =
      run(handle, Bytes(source.data()), size, &mode, nullptr, 0, Bytes(target), size, &written, 0);
  constexpr auto tagMismatch = static_cast<NTSTATUS>(0xC000A002);
  Require(status >= 0 || (task == CipherTask::Open && status == tagMismatch));
  return status >= 0;
}

} // namespace platform
