#include "platform/platform.h"

namespace platform {

// Large pages need a privilege that programs usually lack, and the system's heap keeps freed memory
// anyway.
void PreferLargePages(void*, std::size_t) noexcept {}

} // namespace platform
