#include <openssl/evp.h>

#include <algorithm>
#include <memory>

#include "platform/platform.h"

namespace platform {
namespace {

struct FreeContext {
  void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, FreeContext>;

const unsigned char* Bytes(std::string_view text) noexcept {
  return reinterpret_cast<const unsigned char*>(text.data());
}

// The tag is 16 bytes and the nonce 12, which are the cipher's defaults.
Context Begin(const std::uint8_t* key, const std::uint8_t* nonce, bool seal) noexcept {
  Context context(EVP_CIPHER_CTX_new());
  if (!context) return nullptr;
  if (EVP_CipherInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key, nonce, seal ? 1 : 0) != 1) return nullptr;
  return context;
}

// Runs source through the cipher. A null target authenticates it only. Lengths are int there, so it goes in pieces.
bool Update(const Context& context, std::uint8_t* target, std::string_view source) noexcept {
  constexpr std::size_t longestPiece = std::size_t{1} << 30;
  while (!source.empty()) {
    const std::size_t piece = std::min(source.size(), longestPiece);
    int written = 0;
    if (EVP_CipherUpdate(context.get(), target, &written, Bytes(source), static_cast<int>(piece)) != 1) return false;
    if (target != nullptr) target += piece;
    source.remove_prefix(piece);
  }
  return true;
}

// The mode has no padding: nothing is written any more, but the tag is made or checked.
bool Finish(const Context& context) noexcept {
  std::uint8_t nothing[1];
  int written = 0;
  return EVP_CipherFinal_ex(context.get(), nothing, &written) == 1;
}

} // namespace

bool SealAesGcm(const std::uint8_t* key, const std::uint8_t* nonce, std::string_view header, std::string_view plain,
                std::uint8_t* cipher, std::uint8_t* tag) noexcept {
  const Context context = Begin(key, nonce, true);
  return context && Update(context, nullptr, header) && Update(context, cipher, plain) && Finish(context) &&
         EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, static_cast<int>(cipherTagSize), tag) == 1;
}

bool OpenAesGcm(const std::uint8_t* key, const std::uint8_t* nonce, std::string_view header, std::string_view cipher,
                const std::uint8_t* tag, std::uint8_t* plain) noexcept {
  const Context context = Begin(key, nonce, false);
  return context && Update(context, nullptr, header) && Update(context, plain, cipher) &&
         EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(cipherTagSize),
                             const_cast<std::uint8_t*>(tag)) == 1 &&
         Finish(context);
}

} // namespace platform
