// Whether a sink is set, as LogIsOn tells it, at the cost of a load.
#ifndef TARVIK_HOST_COREKIT_LOG_FLAG_H
#define TARVIK_HOST_COREKIT_LOG_FLAG_H

#include <atomic>

#include "corekit/corekit.h"

namespace corekit {

#ifdef _WIN32 // where a library needs another kind of code to read another's variable
inline bool SinkIsSet() noexcept { return LogIsOn(); }
#else
COREKIT_API extern std::atomic<bool> sinkIsSet;
inline bool SinkIsSet() noexcept { return sinkIsSet.load(std::memory_order_relaxed); }
#endif

} // namespace corekit

#endif
