// Whether a sink is set, like LogIsOn, but without a call.
#ifndef TARVIK_HOST_COREKIT_LOG_FLAG_H
#define TARVIK_HOST_COREKIT_LOG_FLAG_H

#include <atomic>

#include "corekit/corekit.h"

namespace corekit {

#ifdef _WIN32 // reading a variable of another DLL needs code that a static library cannot use
inline bool SinkIsSet() noexcept { return LogIsOn(); }
#else
COREKIT_API extern std::atomic<bool> sinkIsSet;
inline bool SinkIsSet() noexcept { return sinkIsSet.load(std::memory_order_relaxed); }
#endif

} // namespace corekit

#endif
