// The way of a line or a trace to the sink.
#include <mutex>

#include "host/corekit/private.h"

namespace corekit {

constinit std::atomic<bool> sinkIsSet{false};

namespace {

// Either sink, or none: C++ and C callers give types of their own.
struct Receiver {
  LogSink sink;
  CorekitLogSink plainSink;
  void* context;
};

// Sink and context belong together, so they change and are read under the lock; the flag beside
// them lets a program without a sink pass by at the cost of one load.
std::mutex receiverLock;
constinit Receiver receiver{};

// A copy, so that the sink is called without the lock: it may log, and set another sink.
Receiver CurrentReceiver() noexcept {
  const std::lock_guard<std::mutex> lock(receiverLock);
  return receiver;
}

void SetReceiver(const Receiver& next) noexcept {
  const std::lock_guard<std::mutex> lock(receiverLock);
  receiver = next;
  sinkIsSet.store(next.sink != nullptr || next.plainSink != nullptr, std::memory_order_relaxed);
}

constexpr CorekitLogKind Plain(LogKind kind) noexcept { return static_cast<CorekitLogKind>(kind); }
static_assert(Plain(LogKind::TraceEnter) == CorekitTraceEnter &&
              Plain(LogKind::TraceLeave) == CorekitTraceLeave);
static_assert(Plain(LogKind::Detail) == CorekitDetail && Plain(LogKind::Error) == CorekitError);

const wchar_t* OrEmpty(const wchar_t* text) noexcept { return text != nullptr ? text : L""; }

// Null strings reach the sink as empty ones.
void HandToSink(LogKind kind, const wchar_t* component, const wchar_t* text) noexcept {
  if (!LogIsOn()) return;
  const Receiver current = CurrentReceiver();
  if (current.sink != nullptr) {
    current.sink(current.context, kind, OrEmpty(component), OrEmpty(text));
  } else if (current.plainSink != nullptr) {
    current.plainSink(current.context, Plain(kind), OrEmpty(component), OrEmpty(text));
  }
}

} // namespace

void SetLogSink(LogSink sink, void* context) noexcept { SetReceiver({sink, nullptr, context}); }

bool LogIsOn() noexcept { return sinkIsSet.load(std::memory_order_relaxed); }

void logDetail(const wchar_t* component, const wchar_t* line) noexcept {
  HandToSink(LogKind::Detail, component, line);
}

void logError(const wchar_t* component, const wchar_t* line) noexcept {
  HandToSink(LogKind::Error, component, line);
}

void KDetailTrace::Enter() const noexcept { HandToSink(LogKind::TraceEnter, component, function); }

void KDetailTrace::Leave() const noexcept { HandToSink(LogKind::TraceLeave, component, function); }

} // namespace corekit

void CorekitSetLogSink(CorekitLogSink sink, void* context) {
  corekit::SetReceiver({nullptr, sink, context});
}
