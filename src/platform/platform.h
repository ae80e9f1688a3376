// The contract of the platform layer: what every system must supply. The implementations are in
// linux/ and windows/ beside this header; the build selects one. Files have a header of their own.
// Nothing here logs.
#ifndef TARVIK_PLATFORM_PLATFORM_H
#define TARVIK_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace platform {

// Multibyte strings
//
// All handle multibyte characters of the current character set (platform/charset.h): a search never
// matches in the middle of a character, and a copy never splits one. A byte that does not begin a
// valid character counts as a character. In forced UTF-8, case folds in ASCII alone.

// Compares whole strings, case-sensitively. Returns a number less than, equal to or greater than 0.
int MbsCompare(const char* left, const char* right) noexcept;
// Whether whole strings are equal, ignoring case.
bool MbsEqualsNoCase(std::string_view left, std::string_view right) noexcept;

// Copies at most `count` bytes of source, whole characters only, and fills the rest of the `count`
// bytes with zeros. If source fills all of them, no terminating zero is added.
void MbsCopyBytes(char* target, const char* source, std::size_t count) noexcept;

// The first or last occurrence of a single-byte character; null if there is none.
const char* MbsFindChar(const char* text, char wanted) noexcept;
const char* MbsFindLastChar(const char* text, char wanted) noexcept;

// Both convert between the current character set, which must not be forced UTF-8, and wide text, as
// wcstombs and mbstowcs do, but never replace a character by one that only looks like it. They
// return the length without the terminating zero. With a null target and a capacity of 0 they only
// measure; otherwise target must have room for the text and its zero. On failure they return
// conversionFailed and set errno, and the content of target is unspecified. Throw std::bad_alloc.
inline constexpr std::size_t conversionFailed = static_cast<std::size_t>(-1);
std::size_t WideToMbs(char* target, const wchar_t* source, std::size_t capacity);
std::size_t MbsToWide(wchar_t* target, const char* source, std::size_t capacity);

// Random numbers

// Fills target with `size` bytes, at most 256, from the system's cryptographically secure source.
// False on failure.
bool FillRandom(void* target, std::size_t size) noexcept;

// Memory
//
// Requests large pages for memory that is about to be filled: touching a page for the first time
// costs more than the work on it. The system may ignore it.
void PreferLargePages(void* memory, std::size_t size) noexcept;

// Authenticated encryption: AES-256-GCM

inline constexpr std::size_t cipherKeySize = 32;
inline constexpr std::size_t cipherNonceSize = 12;
inline constexpr std::size_t cipherTagSize = 16;

// Seal encrypts source to target and writes the tag; Open decrypts and checks the tag. target gets
// as many bytes as source has; header is authenticated but not encrypted. False if Open finds that
// the tag does not match header and source; target is then meaningless. Throws std::bad_alloc if
// the cipher fails: only lack of memory can cause that, since it depends on no configuration.
enum class CipherTask { Seal, Open };
bool RunAesGcm(CipherTask task, const std::uint8_t* key, const char* nonce, std::string_view header,
               std::string_view source, char* target, char* tag);

} // namespace platform

#endif
