// Large pages need a privilege here that programs do not have; the system's heap keeps freed memory by itself.
#include <new>

#include "platform/platform.h"

namespace platform {

constexpr std::align_val_t alignment{4096};

void* AllocateLargeBlock() { return ::operator new(largeBlockSize, alignment); }

void ReleaseLargeBlock(void* block) noexcept { ::operator delete(block, alignment); }

void PreferLargePages(void*, std::size_t) noexcept {}

void ExpectLargeAllocations() noexcept {}

} // namespace platform
