// Taking paths apart. The functions here and their log lines are called in a fixed order, which
// callers can see in the trace.
#include "paths/item_path.h"

#include <cassert>
#include <cstring>
#include <exception>
#include <string>

#include "platform/platform.h"
#include "text/convert.h"
#include "text/log.h"

const char* ReturnTokenFromString(const char* text, char separator) {
  assert(text != nullptr);
  const Trace trace(L"ReturnTokenFromString");
  if (*text == '\0') {
    LogDetail(L"Source token is NULL or empty");
    return nullptr;
  }
  const char* const found = platform::MbsFindChar(text, separator);
  if (found == nullptr) return nullptr;
  return found + 1;
}

bool IsRootInPath(const XmlFileRecord& record, const char* path) {
  assert(path != nullptr && record.document != nullptr);
  const Trace trace(L"IsRootInPath");
  try {
    const LocaleText rootName(record.document->GetRoot().GetName());
    if (!rootName.Text()) {
      LogDetail(L"Unicode to multi-byte conversion returned NULL");
      return false;
    }
    const std::string_view name = *rootName.Text();
    const bool isRoot = std::strncmp(path, name.data(), name.size()) == 0;
    LogDetail(path, isRoot ? L" is a group" : L" is a group ID");
    return isRoot;
  } catch (...) {
    LogError(L"Unknown exception occurred while searching for the path in the root element");
    throw;
  }
}

const char* RemoveRootFromBeginningOfPath(const char* path) {
  const Trace trace(L"RemoveRootFromBeginningOfPath");
  const char* const found = ReturnTokenFromString(path, '\\');
  const char* const end = path + std::strlen(path);
  if (corekit::SinkIsSet()) {
    const std::string component(path, found == nullptr ? end : found - 1);
    LogDetail(L"Removed ", component.c_str(), L" from ", path, L".");
  }
  if (found == nullptr) return end;
  return found;
}

std::string_view TruncateToBuffer(const char* path, char (&buffer)[bufferSize]) noexcept {
  const std::size_t length = std::strlen(path);
  if (length < bufferSize) return {path, length};
  platform::MbsCopyBytes(buffer, path, bufferSize - 1);
  buffer[bufferSize - 1] = '\0';
  return buffer;
}

std::string_view PathBelowRoot(const XmlFileRecord& record, const char* path,
                               char (&buffer)[bufferSize]) {
  bool hasRoot = false;
  try {
    hasRoot = IsRootInPath(record, path);
  } catch (const std::exception&) { // logged; the path is then used as it is
  }
  if (hasRoot) path = RemoveRootFromBeginningOfPath(path);
  return TruncateToBuffer(path, buffer);
}
