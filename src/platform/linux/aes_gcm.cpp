#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/platform.h"

namespace platform {
namespace {

// Only lack of memory can make the cipher fail.
template <class Result>
Result Require(Result result) {
  if (!result) throw std::bad_alloc();
  return result;
}

// The system's cipher in a library context of its own, so that neither a configuration file nor the
// host program's settings affect it. Creating it takes almost a millisecond, so it is created once,
// at the first use.
const EVP_CIPHER* Algorithm() {
  static const std::shared_ptr<OSSL_LIB_CTX> library(Require(OSSL_LIB_CTX_new()),
                                                     &OSSL_LIB_CTX_free);
  static const std::shared_ptr<OSSL_PROVIDER> provider(
      Require(OSSL_PROVIDER_load(library.get(), "default")), &OSSL_PROVIDER_unload);
  static const std::shared_ptr<EVP_CIPHER> cipher(
      Require(EVP_CIPHER_fetch(library.get(), "AES-256-GCM", nullptr)), &EVP_CIPHER_free);
  return cipher.get();
}

unsigned char* Bytes(const char* bytes) noexcept {
  return reinterpret_cast<unsigned char*>(const_cast<char*>(bytes));
}

// Passes source through the cipher in pieces, since lengths are of type int there. With a null
// target, only authenticates it.
void Update(EVP_CIPHER_CTX* context, char* target, std::string_view source) {
  constexpr std::size_t maxPieceSize = std::size_t{1} << 30;
  while (!source.empty()) {
    const std::size_t piece = std::min(source.size(), maxPieceSize);
    int written = 0;
    Require(EVP_CipherUpdate(context, Bytes(target), &written, Bytes(source.data()),
                             static_cast<int>(piece)) == 1);
    if (target != nullptr) target += piece;
    source.remove_prefix(piece);
  }
}

} // namespace

bool RunAesGcm(CipherTask task, const std::uint8_t* key, const char* nonce, std::string_view header,
               std::string_view source, char* target, char* tag) {
  const bool seals = task == CipherTask::Seal;
  const std::shared_ptr<EVP_CIPHER_CTX> owner(Require(EVP_CIPHER_CTX_new()), &EVP_CIPHER_CTX_free);
  EVP_CIPHER_CTX* const context = owner.get();
  static_assert(cipherKeySize == 32 && cipherNonceSize == 12,
                "the cipher's default lengths, which are not set here");
  Require(EVP_CipherInit_ex2(context, Algorithm(), key, Bytes(nonce), seals, nullptr) == 1);
  Update(context, nullptr, header);
  Update(context, target, source);
  const auto passTag = [&](int command) {
    Require(EVP_CIPHER_CTX_ctrl(context, command, cipherTagSize, tag) == 1);
  };
  if (!seals) passTag(EVP_CTRL_AEAD_SET_TAG);
  std::uint8_t nothing[1]; // the mode has no padding
  int written = 0;
  const bool matches = EVP_CipherFinal_ex(context, nothing, &written) == 1;
  if (seals) {
    Require(matches);
    passTag(EVP_CTRL_AEAD_GET_TAG);
  }
  return matches;
}

} // namespace platform
