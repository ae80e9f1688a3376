#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/platform.h"

namespace platform {
namespace {

template <auto release>
struct Releaser {
  template <class Owned>
  void operator()(Owned* owned) const noexcept {
    release(owned);
  }
};
template <class Owned, auto release>
using Owner = std::unique_ptr<Owned, Releaser<release>>;

void Require(bool done) {
  if (!done) throw std::bad_alloc();
}

// The system's cipher in a library context of our own, so that neither a configuration file nor what the host program set up
// changes what it is. All that can fail here then is memory, and every failure throws std::bad_alloc.
class Algorithm {
 public:
  // Making it takes most of a millisecond, so it is made once; not before it is needed.
  static const EVP_CIPHER* Get() {
    static const Algorithm algorithm;
    return algorithm.cipher.get();
  }

 private:
  Algorithm() { Require(cipher != nullptr); }

  Owner<OSSL_LIB_CTX, OSSL_LIB_CTX_free> library{OSSL_LIB_CTX_new()};
  Owner<OSSL_PROVIDER, OSSL_PROVIDER_unload> provider{library ? OSSL_PROVIDER_load(library.get(), "default") : nullptr};
  Owner<EVP_CIPHER, EVP_CIPHER_free> cipher{provider ? EVP_CIPHER_fetch(library.get(), "AES-256-GCM", nullptr)
                                                     : nullptr};
};

// One text on its way through the cipher.
class Passage {
 public:
  // The tag is 16 bytes and the nonce 12, which are the cipher's defaults.
  Passage(const std::uint8_t* key, const std::uint8_t* nonce, bool seal) {
    const EVP_CIPHER* const algorithm = Algorithm::Get();
    Require(context && EVP_CipherInit_ex2(context.get(), algorithm, key, nonce, seal ? 1 : 0, nullptr) == 1);
  }

  // Runs source through the cipher. A null target authenticates it only. Lengths are int there, so it goes in pieces.
  void Update(std::uint8_t* target, std::string_view source) {
    constexpr std::size_t longestPiece = std::size_t{1} << 30;
    while (!source.empty()) {
      const std::size_t piece = std::min(source.size(), longestPiece);
      int written = 0;
      const auto* const bytes = reinterpret_cast<const unsigned char*>(source.data());
      Require(EVP_CipherUpdate(context.get(), target, &written, bytes, static_cast<int>(piece)) == 1);
      if (target != nullptr) target += piece;
      source.remove_prefix(piece);
    }
  }

  void Control(int command, std::uint8_t* tag) {
    Require(EVP_CIPHER_CTX_ctrl(context.get(), command, static_cast<int>(cipherTagSize), tag) == 1);
  }

  // The mode has no padding: nothing is written any more, but the tag is made or checked. False when it does not match.
  bool Finish() noexcept {
    std::uint8_t nothing[1];
    int written = 0;
    return EVP_CipherFinal_ex(context.get(), nothing, &written) == 1;
  }

 private:
  Owner<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free> context{EVP_CIPHER_CTX_new()};
};

} // namespace

void SealAesGcm(const std::uint8_t* key, const std::uint8_t* nonce, std::string_view header, std::string_view plain,
                std::uint8_t* cipher, std::uint8_t* tag) {
  Passage sealing(key, nonce, true);
  sealing.Update(nullptr, header);
  sealing.Update(cipher, plain);
  if (!sealing.Finish()) throw std::bad_alloc();
  sealing.Control(EVP_CTRL_AEAD_GET_TAG, tag);
}

bool OpenAesGcm(const std::uint8_t* key, const std::uint8_t* nonce, std::string_view header, std::string_view cipher,
                const std::uint8_t* tag, std::uint8_t* plain) {
  Passage opening(key, nonce, false);
  opening.Update(nullptr, header);
  opening.Update(plain, cipher);
  opening.Control(EVP_CTRL_AEAD_SET_TAG, const_cast<std::uint8_t*>(tag));
  return opening.Finish();
}

} // namespace platform
