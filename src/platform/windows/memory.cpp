// Large pages need a privilege here that programs do not have; the system's heap keeps freed memory by itself.
#include <new>

#include "platform/platform.h"

namespace platform {

void* AllocateLargeBlock() { return ::operator new(largeBlockSize); }

void ReleaseLargeBlock(void* block) noexcept { ::operator delete(block); }

void PreferLargePages(void*, std::size_t) noexcept {}

void ExpectLargeAllocations() noexcept {}

} // namespace platform
