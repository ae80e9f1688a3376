#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/platform.h"

namespace platform {
namespace {

template <class Owned, auto release>
using Owner = std::unique_ptr<Owned, decltype([](Owned* owned) { release(owned); })>;

void Require(bool done) {
  if (!done) throw std::bad_alloc();
}

// The system's cipher in a library context of its own, so that neither a configuration file nor the
// host program's settings affect it. Then only lack of memory can make it fail, so every failure
// throws std::bad_alloc.
class Algorithm {
 public:
  // Creating it takes almost a millisecond, so it is created once, at the first use.
  static const EVP_CIPHER* Get() {
    static const Algorithm algorithm;
    return algorithm.cipher.get();
  }

 private:
  Algorithm() { Require(cipher != nullptr); }

  Owner<OSSL_LIB_CTX, OSSL_LIB_CTX_free> library{OSSL_LIB_CTX_new()};
  Owner<OSSL_PROVIDER, OSSL_PROVIDER_unload> provider{
      library ? OSSL_PROVIDER_load(library.get(), "default") : nullptr};
  Owner<EVP_CIPHER, EVP_CIPHER_free> cipher{
      provider ? EVP_CIPHER_fetch(library.get(), "AES-256-GCM", nullptr) : nullptr};
};

unsigned char* Bytes(char* bytes) noexcept { return reinterpret_cast<unsigned char*>(bytes); }
const unsigned char* Bytes(const char* bytes) noexcept {
  return reinterpret_cast<const unsigned char*>(bytes);
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

// Encrypts and makes the tag, or decrypts and checks it; false if the tag does not match.
bool Run(bool seal, const std::uint8_t* key, const char* nonce, std::string_view header,
         std::string_view source, char* target, char* tag) {
  const Owner<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free> owner(EVP_CIPHER_CTX_new());
  EVP_CIPHER_CTX* const context = owner.get();
  Require(context != nullptr);
  static_assert(cipherKeySize == 32 && cipherNonceSize == 12,
                "the cipher's default lengths, which are not set here");
  Require(EVP_CipherInit_ex2(context, Algorithm::Get(), key, Bytes(nonce), seal ? 1 : 0, nullptr) ==
          1);
  Update(context, nullptr, header);
  Update(context, target, source);
  const auto passTag = [&](int command) {
    Require(EVP_CIPHER_CTX_ctrl(context, command, cipherTagSize, tag) == 1);
  };
  if (!seal) passTag(EVP_CTRL_AEAD_SET_TAG);
  std::uint8_t nothing[1]; // the mode has no padding
  int written = 0;
  const bool matches = EVP_CipherFinal_ex(context, nothing, &written) == 1;
  Require(matches || !seal);
  if (seal) passTag(EVP_CTRL_AEAD_GET_TAG);
  return matches;
}

} // namespace

void SealAesGcm(const std::uint8_t* key, const char* nonce, std::string_view header,
                std::string_view plain, char* cipher, char* tag) {
  Run(true, key, nonce, header, plain, cipher, tag);
}

bool OpenAesGcm(const std::uint8_t* key, const char* nonce, std::string_view header,
                std::string_view cipher, const char* tag, char* plain) {
  return Run(false, key, nonce, header, cipher, plain, const_cast<char*>(tag));
}

} // namespace platform
