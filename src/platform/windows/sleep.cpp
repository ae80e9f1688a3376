#include <windows.h>

#include "platform/platform.h"

namespace platform {

void Sleep(std::uint32_t milliseconds) noexcept { ::Sleep(milliseconds); }

} // namespace platform
