#include "paths/item_path.h"

#include <cstring>
#include <string>

#include "platform/platform.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

// Separators are nearly always one character, which is found without looking at the text behind it.
const char* FindSeparator(const char* source, const char* separator) noexcept {
  return separator[1] == '\0' ? platform::MbsFindChar(source, separator[0])
                              : platform::MbsFind(source, separator);
}

bool BeginsWithRoot(const XmlFileRecord& record, const char* path) {
  const Ostrum::Element root = record.document->GetRoot();
  if (root.IsNull()) {
    LogDetail(L"Root element is NULL");
    return false;
  }
  const LocaleText rootName(root.GetName());
  if (!rootName.Text()) {
    LogDetail(L"Unicode to multi-byte conversion returned NULL");
    return false;
  }

  const std::string_view name = *rootName.Text();
  const bool isRoot = *path == name.front() && std::strncmp(path, name.data(), name.size()) == 0;
  LogDetail(path, isRoot ? L" is a group" : L" is a group ID");
  return isRoot;
}

} // namespace

char* ReturnTokenFromString(const char* source, char* token, std::uint32_t capacity,
                            const char* separator) {
  const Trace trace(L"ReturnTokenFromString");
  if (capacity != 0) token[0] = '\0';
  if (source == nullptr || *source == '\0') {
    LogDetail(L"Source token is NULL or empty");
    return nullptr;
  }

  const char* const end = FindSeparator(source, separator);
  if (end == nullptr) {
    if (capacity == 0) return nullptr;
    platform::MbsCopyBytes(token, source, capacity - 1);
    token[capacity - 1] = '\0';
    return nullptr;
  }

  const auto length = static_cast<std::size_t>(end - source);
  if (length < capacity) {
    std::memcpy(token, source, length);
    token[length] = '\0';
  }
  return const_cast<char*>(end + (separator[1] == '\0' ? 1 : std::strlen(separator)));
}

int IsRootInPath(const XmlFileRecord& record, const char* path,
                 std::exception_ptr* failure) noexcept {
  const Trace trace(L"IsRootInPath");
  try {
    return BeginsWithRoot(record, path) ? 1 : 0;
  } catch (...) {
    LogError(L"Unknown exception occurred while searching for the path in the root element");
    if (failure != nullptr) *failure = std::current_exception();
    return 0;
  }
}

void RemoveRootFromBeginningOfPath(const char* path, char* output, std::uint32_t capacity) {
  const Trace trace(L"RemoveRootFromBeginningOfPath");
  if (output == nullptr || capacity == 0) {
    LogDetail(L"Buffer is NULL or size is <= 0");
    return;
  }

  const char* const rest = ReturnTokenFromString(path, nullptr, 0, "\\");
  if (rest != nullptr) {
    platform::MbsCopyBytes(output, rest, capacity - 1);
    output[capacity - 1] = '\0';
  } else {
    std::memset(output, 0, capacity);
  }
  if (!corekit::SinkIsSet()) return;
  const std::string component = rest == nullptr ? path : std::string(path, rest - 1);
  LogDetail(L"Removed ", component.c_str(), L" from ", path, L".");
}

std::string_view CutToBufferSize(const char* path, char (&buffer)[bufferSize]) noexcept {
  const std::size_t length = std::strlen(path);
  if (length < bufferSize) return {path, length};
  platform::MbsCopyBytes(buffer, path, bufferSize - 1);
  buffer[bufferSize - 1] = '\0';
  return buffer;
}

std::string_view PathBelowRoot(const XmlFileRecord& record, const char* path,
                               char (&buffer)[bufferSize]) {
  if (IsRootInPath(record, path) == 0) return CutToBufferSize(path, buffer);
  RemoveRootFromBeginningOfPath(path, buffer, bufferSize);
  return buffer;
}
