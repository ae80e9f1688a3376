#include <chrono>
#include <thread>

#include "platform/platform.h"

namespace platform {

void Sleep(std::uint32_t milliseconds) noexcept {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace platform
