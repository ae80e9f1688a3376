#include <cerrno>
#include <ctime>

#include "platform/platform.h"

namespace platform {

void Sleep(std::uint32_t milliseconds) noexcept {
  timespec remaining{};
  remaining.tv_sec = static_cast<std::time_t>(milliseconds / 1000);
  remaining.tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000;
  while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
  }
}

} // namespace platform
