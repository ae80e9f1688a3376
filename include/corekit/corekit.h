// corekit: log, trace, string builder and file cipher. For C++17; the log sink, the cipher's key
// and the mode of text also for C and every language that calls C functions.
//
// A program that wants to see the log lines of the libraries in its process sets a sink; without
// one, building a line and tracing cost next to nothing: no allocation, no conversion. Only
// KCryptWrap's functions may throw: std::bad_alloc when memory runs out.
#ifndef COREKIT_COREKIT_H
#define COREKIT_COREKIT_H

#include <stddef.h>
#include <stdint.h>
#ifdef __cplusplus
#include <cstddef>
#include <cstdint>
#include <string>
#endif

// The calling convention of the functions and of sinks, whatever the caller's default.
#if defined(_WIN32)
#define COREKIT_CALL __cdecl
#else
#define COREKIT_CALL
#endif

#if defined(COREKIT_STATIC)
#define COREKIT_API
#elif defined(_WIN32) && defined(COREKIT_BUILDING)
#define COREKIT_API __declspec(dllexport)
#elif defined(_WIN32)
#define COREKIT_API __declspec(dllimport)
#elif defined(__GNUC__)
#define COREKIT_API __attribute__((visibility("default")))
#else
#define COREKIT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// NOLINTBEGIN(modernize-use-using): for C
// The kinds of line: a function was entered or left, a detail, an error.
typedef enum CorekitLogKind {
  CorekitTraceEnter,
  CorekitTraceLeave,
  CorekitDetail,
  CorekitError
} CorekitLogKind;

// As corekit::LogSink below.
typedef void(COREKIT_CALL* CorekitLogSink)(void* context, CorekitLogKind kind,
                                           const wchar_t* component, const wchar_t* text);
// NOLINTEND(modernize-use-using)

// As corekit::SetLogSink: the process has one sink, set by either function.
COREKIT_API void COREKIT_CALL CorekitSetLogSink(CorekitLogSink sink, void* context);

// As corekit::SetCipherKey: key points to 32 bytes, which are copied. A null key changes nothing.
COREKIT_API void COREKIT_CALL CorekitSetCipherKey(const uint8_t* key);

// As corekit::SetUtf8: nonzero for UTF-8.
COREKIT_API void COREKIT_CALL CorekitSetUtf8(int isOn);

#ifdef __cplusplus
} // extern "C"

namespace corekit {

// Sets, process-wide, the character set of all text that callers pass to libtarvik and corekit and
// receive from them, names of files on Windows included: UTF-8, whatever the locale, or (the
// default) that of the locale. For programs that cannot set the locale of the C runtime that the
// libraries use. In UTF-8, letter case is ignored for ASCII letters alone. A call to libtarvik
// works to its end in the mode in which it began. Bytes that an open document already remembers
// (its name, IDs of opened groups) are not converted, so set the mode before the first call.
COREKIT_API void COREKIT_CALL SetUtf8(bool isOn) noexcept;

// The kinds of line, as in CorekitLogKind.
enum class LogKind { TraceEnter, TraceLeave, Detail, Error };

// Receives every line while it is set, on whatever thread logged it, several at once if several
// threads log. component and text are zero-terminated and valid during the call only; a trace gives
// the function's name as text. A sink must not throw. It may log, and it may set another sink.
using LogSink = void(COREKIT_CALL*)(void* context, LogKind kind, const wchar_t* component,
                                    const wchar_t* text);

// Sets the process-wide sink; null (the default) drops every line. A call to the old sink that is
// under way on another thread may still end after this returns, so keep its context alive.
COREKIT_API void COREKIT_CALL SetLogSink(LogSink sink, void* context) noexcept;

// True while a sink is set. Check it before work that only a log line needs.
COREKIT_API bool COREKIT_CALL LogIsOn() noexcept;

// Hands one line to the sink, as a detail.
COREKIT_API void COREKIT_CALL logDetail(const wchar_t* component, const wchar_t* line) noexcept;

// Hands one line to the sink, as an error.
COREKIT_API void COREKIT_CALL logError(const wchar_t* component, const wchar_t* line) noexcept;

// Builds one log line piece by piece. One that is created while no sink is set stays empty and
// costs nothing. If there is no memory for a piece, the line ends before it. Narrow text is in
// UTF-8 after SetUtf8(true), else in the locale's character set; invalid bytes show as U+FFFD.
class KString {
 public:
  explicit KString(const wchar_t* text) noexcept : live(LogIsOn()) { *this << text; }
  explicit KString(const char* text) noexcept : live(LogIsOn()) { *this << text; }
  ~KString() {
    if (line != nullptr) Release();
  }
  KString(const KString&) = delete;
  KString& operator=(const KString&) = delete;

  // Null text appends nothing. Numbers are appended in decimal.
  KString& operator<<(const wchar_t* text) noexcept { return AppendIfLive(text); }
  KString& operator<<(const char* text) noexcept { return AppendIfLive(text); }
  KString& operator<<(long number) noexcept { return AppendIfLive(number); }
  KString& operator<<(unsigned long number) noexcept { return AppendIfLive(number); }

  // The line so far; valid until the next append.
  operator const wchar_t*() const noexcept { return line != nullptr ? line : L""; }

 private:
  // For libtarvik.
  friend COREKIT_API void COREKIT_CALL AppendNarrow(KString& line, const char* text,
                                                    bool isUtf8) noexcept;
  template <class Piece>
  KString& AppendIfLive(Piece piece) noexcept {
    if (live) Append(piece);
    return *this;
  }
  COREKIT_API void Append(const wchar_t* text) noexcept;
  COREKIT_API void Append(const char* text) noexcept;
  COREKIT_API void Append(long number) noexcept;
  COREKIT_API void Append(unsigned long number) noexcept;
  COREKIT_API void Release() noexcept;
  bool Reserve(std::size_t more) noexcept;

  wchar_t* line = nullptr; // owned by the library's allocator
  std::size_t length = 0;
  std::size_t capacity = 0;
  bool live;
};

// Traces a function: logs TraceEnter when constructed and TraceLeave when destroyed.
// Both texts must outlive it.
class KDetailTrace {
 public:
  KDetailTrace(const wchar_t* componentName, const wchar_t* functionName) noexcept
      : component(componentName), function(functionName), live(LogIsOn()) {
    if (live) Enter();
  }
  virtual ~KDetailTrace() {
    if (live) Leave();
  }
  KDetailTrace(const KDetailTrace&) = delete;
  KDetailTrace& operator=(const KDetailTrace&) = delete;

 private:
  COREKIT_API void Enter() const noexcept;
  COREKIT_API void Leave() const noexcept;

  const wchar_t* component;
  const wchar_t* function;
  bool live;
};

// Sets the process-wide key of the file cipher, 32 bytes, which are copied. The default is a
// built-in key. A file that was encrypted with one key can't be decrypted with another.
COREKIT_API void COREKIT_CALL SetCipherKey(const std::uint8_t (&key)[32]) noexcept;

// The file cipher. Layout of an encrypted file: 4 bytes "TVK1", a random nonce of 12 bytes, the
// AES-256-GCM ciphertext and its 16-byte tag; the 4 bytes are authenticated too. Input and output
// may be any bytes, zero bytes included, and the same string. Both functions may throw
// std::bad_alloc; output is then unchanged.
class KCryptWrap {
 public:
  // Encrypts input into output. Returns false, with output empty, if the system gives no random
  // nonce.
  COREKIT_API static bool encrypt_data(const std::string& input, std::string& output);

  // Decrypts input into output. Returns false, with output empty, if input is not an encrypted
  // file, was changed or truncated, or was encrypted with another key.
  COREKIT_API static bool decrypt_data(const std::string& input, std::string& output);
};

} // namespace corekit
#endif

#endif
