#include "platform/platform.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"

namespace {

const char* LastComponent(const char* fileName) noexcept {
  const char* separator = platform::MbsFindLastChar(fileName, '/');
  if (separator == nullptr) separator = platform::MbsFindLastChar(fileName, '\\');
  return separator != nullptr ? separator + 1 : fileName;
}

} // namespace

std::uint32_t TARVIK_CALL MatchXmlListToFileName(XmlFileList* list, std::uint32_t cookie, const char* fileName,
                                                 std::uint32_t* matches) {
  const XmlFileRecord* record = FindXmlFile(list, nullptr, &cookie, nullptr);
  if (record == nullptr) return XmlNotFound;
  if (matches == nullptr || fileName == nullptr) return XmlInvalidArgument;
  *matches = platform::MbsCompareNoCase(LastComponent(record->fileName), fileName) == 0 ? 1 : 0;
  return XmlSuccess;
}
