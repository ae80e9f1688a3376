// Windows' own runtime is what the contract was taken from.
#include <mbstring.h>

#include "platform/platform.h"

namespace platform {
namespace {

const unsigned char* Bytes(const char* text) noexcept { return reinterpret_cast<const unsigned char*>(text); }
unsigned char* Bytes(char* text) noexcept { return reinterpret_cast<unsigned char*>(text); }
const char* Text(const unsigned char* bytes) noexcept { return reinterpret_cast<const char*>(bytes); }

unsigned int Character(char byte) noexcept { return static_cast<unsigned char>(byte); }

} // namespace

int MbsCompare(const char* left, const char* right) noexcept { return _mbscmp(Bytes(left), Bytes(right)); }

int MbsCompareNoCase(const char* left, const char* right) noexcept { return _mbsicmp(Bytes(left), Bytes(right)); }

int MbsCompareBytes(const char* left, const char* right, std::size_t count) noexcept {
  return _mbsnbcmp(Bytes(left), Bytes(right), count);
}

int MbsCompareBytesNoCase(const char* left, const char* right, std::size_t count) noexcept {
  return _mbsnbicmp(Bytes(left), Bytes(right), count);
}

void MbsCopyBytes(char* target, const char* source, std::size_t count) noexcept {
  _mbsnbcpy(Bytes(target), Bytes(source), count);
}

void MbsAppendBytes(char* target, const char* source, std::size_t count) noexcept {
  _mbsnbcat(Bytes(target), Bytes(source), count);
}

const char* MbsFind(const char* text, const char* wanted) noexcept { return Text(_mbsstr(Bytes(text), Bytes(wanted))); }

const char* MbsFindChar(const char* text, char wanted) noexcept {
  return Text(_mbschr(Bytes(text), Character(wanted)));
}

const char* MbsFindLastChar(const char* text, char wanted) noexcept {
  return Text(_mbsrchr(Bytes(text), Character(wanted)));
}

} // namespace platform
