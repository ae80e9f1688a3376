// What every system must supply: the contract of the platform layer. What systems do differently is implemented for each in
// a folder beside this header (posix/, windows/), and the build picks one. Files are in a header of their own. Nothing here
// logs.
#ifndef TARVIK_PLATFORM_PLATFORM_H
#define TARVIK_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// Multibyte strings
//
// All are aware of characters of several bytes in the locale's character set: a search never hits the second half of a
// character, a copy never splits one. A byte that begins no valid character counts as a character of its own.

// Less than, equal to or greater than 0; the whole texts, case-sensitive.
int MbsCompare(const char* left, const char* right) noexcept;
// The same without regard to the case of letters; at most `count` bytes of each.
int MbsCompareNoCase(const char* left, const char* right) noexcept;
int MbsCompareBytesNoCase(const char* left, const char* right, std::size_t count) noexcept;

// Copies at most `count` bytes of source, whole characters only, and fills the rest of the `count` bytes with zeros.
// Adds no terminating zero of its own when source fills all of them.
void MbsCopyBytes(char* target, const char* source, std::size_t count) noexcept;

// First occurrence of a text, first or last occurrence of a single-byte character; null when there is none.
const char* MbsFind(const char* text, const char* wanted) noexcept;
const char* MbsFindChar(const char* text, char wanted) noexcept;
const char* MbsFindLastChar(const char* text, char wanted) noexcept;

// Random numbers, time

// Fills target with `size` bytes, at most 256, from the system's cryptographically secure source. False on failure.
bool FillRandom(void* target, std::size_t size) noexcept;

// Blocks the calling thread for at least that long. Stands in a file of its own, so that tests and benchmarks can link
// another one in its place.
void Sleep(std::uint32_t milliseconds) noexcept;

// Memory
//
// Pages that are touched for the first time cost more than what is done with them. These blocks come in the largest pages
// that the system has.

inline constexpr std::size_t largeBlockSize = std::size_t{2} << 20;

// A block of largeBlockSize bytes, uninitialized, at an address that is a multiple of 4096. Throws std::bad_alloc.
void* AllocateLargeBlock();
void ReleaseLargeBlock(void* block) noexcept;

// Asks for large pages in memory of any origin that is about to be filled. Can be ignored.
void PreferLargePages(void* memory, std::size_t size) noexcept;

// Tells the allocator that memory in megabytes comes and goes, so that it keeps what is given back for the next time
// instead of returning it to the system page by page.
void ExpectLargeAllocations() noexcept;

// Authenticated encryption: AES-256-GCM

inline constexpr std::size_t cipherKeySize = 32;
inline constexpr std::size_t cipherNonceSize = 12;
inline constexpr std::size_t cipherTagSize = 16;

// Both throw std::bad_alloc, which is all that can go wrong with the cipher itself: it depends on no configuration.
//
// Writes as many bytes of ciphertext as plain has, and the tag. header is authenticated, not encrypted.
void SealAesGcm(const std::uint8_t* key, const char* nonce, std::string_view header, std::string_view plain,
                char* cipher, char* tag);
// Writes as many bytes of plain text as cipher has. False when the tag does not prove header and cipher, plain being then
// without meaning.
bool OpenAesGcm(const std::uint8_t* key, const char* nonce, std::string_view header, std::string_view cipher,
                const char* tag, char* plain);

} // namespace platform

#endif
