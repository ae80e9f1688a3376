#include "platform/platform.h"
#include "platform/posix/system_random.h"

namespace platform {

bool FillRandom(void* target, std::size_t size) noexcept { return FillFromSystem(target, size); }

} // namespace platform
