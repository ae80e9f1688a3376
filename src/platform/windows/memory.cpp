// Large pages need a privilege that programs usually lack, and the system's heap keeps freed memory
// anyway.
#include <new>

#include "platform/platform.h"

namespace platform {

constexpr std::align_val_t alignment{4096};

void* AllocateLargeBlock() { return ::operator new(largeBlockSize, alignment); }

void ReleaseLargeBlock(void* block) noexcept { ::operator delete(block, alignment); }

void PreferLargePages(void*, std::size_t) noexcept {}

} // namespace platform
