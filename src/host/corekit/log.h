// The way of a line to the sink.
#ifndef TARVIK_HOST_COREKIT_LOG_H
#define TARVIK_HOST_COREKIT_LOG_H

#include "corekit/corekit.h"

namespace corekit {

// Hands a line to the sink, if there is one. Null texts reach it as empty ones.
void HandToSink(LogKind kind, const wchar_t* component, const wchar_t* text) noexcept;

} // namespace corekit

#endif
