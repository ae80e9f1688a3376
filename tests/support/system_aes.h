// Whether the system has AES. 32-bit programs under Wine have none, so tests of the cipher are
// skipped there.
#ifndef TARVIK_TESTS_SUPPORT_SYSTEM_AES_H
#define TARVIK_TESTS_SUPPORT_SYSTEM_AES_H

#include <cstdint>
#include <vector>

#ifdef _WIN32
#include <windows.h>
// After windows.h, which it needs.
#include <bcrypt.h>
#endif

// Asks the system directly, so that a fault of the library is not mistaken for a missing AES.
inline bool SystemHasAes() {
#ifdef _WIN32
  BCRYPT_ALG_HANDLE provider = nullptr;
  BCRYPT_KEY_HANDLE key = nullptr;
  UCHAR bytes[32] = {};
  BCryptOpenAlgorithmProvider(&provider, BCRYPT_AES_ALGORITHM, nullptr, 0);
  return BCryptGenerateSymmetricKey(provider, &key, nullptr, 0, bytes, sizeof bytes, 0) == 0;
#else
  return true;
#endif
}

// The values of `encrypted` to test OpenXML with: 1 only if the system has AES. The cipher's test
// reports if it is skipped.
inline std::vector<std::int32_t> PlainAndEncrypted() {
  return SystemHasAes() ? std::vector<std::int32_t>{0, 1} : std::vector<std::int32_t>{0};
}

#endif
