// Whether the system has AES at all: 32-bit programs under Wine have none, and a test of the cipher is skipped there.
#ifndef TARVIK_TESTS_SUPPORT_SYSTEM_AES_H
#define TARVIK_TESTS_SUPPORT_SYSTEM_AES_H

#include <cstdint>
#include <vector>

#ifdef _WIN32
#include <windows.h>
// After windows.h, which it needs.
#include <bcrypt.h>
#endif

// Asks the system itself, so that a fault of ours is not taken for a system without AES.
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

// What a test passes to OpenXML in turn: plain files, and encrypted ones where the system can. The cipher's own test says
// where they are skipped.
inline std::vector<std::int32_t> PlainAndEncrypted() {
  return SystemHasAes() ? std::vector<std::int32_t>{0, 1} : std::vector<std::int32_t>{0};
}

#endif
