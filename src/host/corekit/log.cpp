#include "host/corekit/log.h"

#include <atomic>
#include <mutex>

namespace corekit {
namespace {

struct Receiver {
  LogSink sink;
  void* context;
};

// Sink and context belong together, so they change and are read under the lock; the flag beside them lets a program
// without a sink pass by at the cost of one load.
std::mutex receiverLock;
constinit Receiver receiver{};
constinit std::atomic<bool> isOn{false};

// A copy, so that the sink is called without the lock: it may log, and set another sink.
Receiver CurrentReceiver() noexcept {
  const std::lock_guard<std::mutex> lock(receiverLock);
  return receiver;
}

const wchar_t* OrEmpty(const wchar_t* text) noexcept { return text != nullptr ? text : L""; }

} // namespace

void SetLogSink(LogSink sink, void* context) noexcept {
  const std::lock_guard<std::mutex> lock(receiverLock);
  receiver = {sink, context};
  isOn.store(sink != nullptr, std::memory_order_relaxed);
}

bool LogIsOn() noexcept { return isOn.load(std::memory_order_relaxed); }

void HandToSink(LogKind kind, const wchar_t* component, const wchar_t* text) noexcept {
  if (!LogIsOn()) return;
  const Receiver current = CurrentReceiver();
  if (current.sink != nullptr) current.sink(current.context, kind, OrEmpty(component), OrEmpty(text));
}

void logDetail(const wchar_t* component, const wchar_t* line) noexcept { HandToSink(LogKind::Detail, component, line); }

void logError(const wchar_t* component, const wchar_t* line) noexcept { HandToSink(LogKind::Error, component, line); }

} // namespace corekit
