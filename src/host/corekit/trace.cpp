#include "host/corekit/log.h"

namespace corekit {

void KDetailTrace::Enter() const noexcept { HandToSink(LogKind::TraceEnter, component, function); }

void KDetailTrace::Leave() const noexcept { HandToSink(LogKind::TraceLeave, component, function); }

} // namespace corekit
