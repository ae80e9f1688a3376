// Replaces the platform's Sleep, so that opening a document does not wait.
#include "platform/platform.h"

void platform::Sleep(std::uint32_t) noexcept {}
