// Opening and closing. A record enters the list when nothing can fail any more; until then its
// owner here reclaims it, whatever goes wrong.
#include <cassert>
#include <chrono>
#include <list>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "platform/platform.h"
#include "registry/file_list.h"
#include "tarvik/tarvik.h"
#include "text/charset_scope.h"
#include "text/convert.h"
#include "text/log.h"

namespace {

bool ArgumentsAreThere(const XmlFileList* list, const char* name,
                       const std::uint32_t* cookie) noexcept {
  if (list == nullptr) LogDetail(L"Failed to open ", name, L":  xml file list pointer is NULL.");
  if (cookie == nullptr) LogDetail(L"Failed to open ", name, L":  cookie pointer is NULL.");
  if (name == nullptr) LogDetail(L"Failed to open :  file name pointer is NULL.");
  if (list != nullptr && cookie != nullptr && name != nullptr) return true;
  LogReason(L"a pointer that is needed is null");
  return false;
}

void LogOpened(const XmlFileRecord& record) noexcept {
  LogDetail(L"Opened ", record.fileName, L" (", record.cookie, L") successfully.");
}

std::uint32_t CodeOfReadResult(Ostrum::ReadResult result) noexcept {
  if (result == Ostrum::ReadNoFile) return XmlFileNotFound;
  if (result == Ostrum::ReadUnreadable) return XmlFileUnreadable;
  if (result == Ostrum::ReadNoMemory) return XmlOutOfMemory;
  if (result == Ostrum::ReadFailed) return XmlFailure;
  return XmlFileNotText;
}

// Only logs, since the reader detects the encoding itself.
void GetXMLEncoding() noexcept {
  const Trace trace(L"GetXMLEncoding");
  LogDetail(L"Returned encoding for UTF-8");
}

// Null if the name cannot be converted.
std::unique_ptr<Ostrum::DocumentFile> FileOf(const char* name, bool encrypted) {
  const WideText wideName(ConvertToUnicode(name));
  if (wideName == nullptr) {
    LogReason(L"the file name is not valid text in the locale's character set");
    LogDetail(L"Failed to open ", name, L":  unable to convert the file name.");
    return nullptr;
  }
  using corekit::KCryptWrap;
  return std::make_unique<Ostrum::DocumentFile>(platform::AbsoluteFileName(name, wideName.get()),
                                                encrypted ? &KCryptWrap::decrypt_data : nullptr,
                                                encrypted ? &KCryptWrap::encrypt_data : nullptr);
}

std::uint32_t ReadText(Ostrum::DocumentFile& file, const char* name, std::string& text) {
  auto result = Ostrum::ReadFailed;
  try {
    text = file.Read().utf8;
    return XmlSuccess;
  } catch (const Ostrum::ReadFailure& failure) {
    LogReason(name, L": ", failure.what());
    result = failure.result;
  } catch (const std::bad_alloc&) {
    LogReason(noMemoryReason);
    result = Ostrum::ReadNoMemory;
  } catch (...) {
    LogReason(unknownReason);
  }
  LogDetail(L"Failed to open ", name, L":  ", long{result});
  return CodeOfReadResult(result);
}

std::uint32_t ParseInto(XmlFileRecord& record, const char* name, std::string text) {
  const int length = static_cast<int>(text.size()); // the reader rejects longer text
  Ostrum::PARSER_ERROR error = Ostrum::NO_PARSER_ERROR;
  int line = 0;
  int column = 0;
  record.document.reset(Ostrum::ParseXML(std::move(text), length, error, line, column));
  if (record.document != nullptr) return XmlSuccess;
  LogReason(line, L":", column, L": ", Ostrum::ReasonOf(error));
  LogDetail(L"Failed to open ", name, L":  unable to parse ", name, L".");
  return XmlOutOfMemory;
}

std::uint32_t MakeElementMap(XmlFileRecord& record, const char* name) {
  assert(record.document != nullptr && record.elementMap == nullptr);
  record.elementMap = std::make_unique<ElementMap>();
  const Ostrum::Element root = record.document->GetRoot();
  const LocaleText rootName(root.GetName());
  if (!rootName.Text()) {
    LogReason(L"the locale's character set cannot represent the root element's name");
    LogDetail(L"Failed to open ", name, L":  unable to convert the name of the root element.");
    return XmlFailure;
  }
  record.elementMap->Insert(*rootName.Text(), root);
  return XmlSuccess;
}

std::uint32_t OpenAnew(XmlFileList& list, const char* name, std::uint32_t encoding,
                       std::int32_t encrypted, std::uint32_t& cookie) {
  GetXMLEncoding();
  std::unique_ptr<Ostrum::DocumentFile> file = FileOf(name, encrypted != 0);
  if (file == nullptr) return XmlFailure;
  std::string text;
  std::uint32_t code = ReadText(*file, name, text);
  if (code != XmlSuccess) return code;

  std::list<XmlFileRecord> opened;
  try {
    opened.emplace_back();
  } catch (const std::bad_alloc&) {
    LogReason(noMemoryReason);
    LogDetail(L"Failed to open ", name, L":  unable to allocate memory for ", name, L".");
    return XmlOutOfMemory;
  }
  std::unique_ptr<XmlFileRecord, decltype(&FreeXmlFile)> record(&opened.front(), &FreeXmlFile);
  record->file = std::move(file);
  code = ParseInto(*record, name, std::move(text));
  if (code == XmlSuccess) code = MakeElementMap(*record, name);
  if (code != XmlSuccess) return code;

  platform::MbsCopyBytes(record->fileName, name, bufferSize - 1);
  platform::FillRandom(&record->cookie, sizeof record->cookie); // on failure, any value will do
  if (encoding != XmlOpenAtOnce) std::this_thread::sleep_for(std::chrono::seconds(1));
  list.files.splice(list.files.end(), opened);
  assert(record->document && record->file && record->elementMap);
  cookie = record->cookie;
  LogOpened(*record.release());
  return XmlSuccess;
}

} // namespace

std::uint32_t TARVIK_CALL OpenXML(XmlFileList* list, const char* fileName, std::uint32_t encoding,
                                  std::int32_t encrypted, std::uint32_t* cookie) {
  const CharsetScope charset;
  const Trace trace(L"OpenXML");
  if (!ArgumentsAreThere(list, fileName, cookie)) return XmlInvalidArgument;
  if (const XmlFileRecord* const open = FindXmlFileByName(*list, fileName)) {
    *cookie = open->cookie;
    LogOpened(*open);
    return XmlSuccess;
  }
  try {
    return OpenAnew(*list, fileName, encoding, encrypted, *cookie);
  } catch (const std::bad_alloc&) {
    LogReason(noMemoryReason);
  } catch (...) {
    LogReason(unknownReason);
  }
  LogDetail(L"Failed to open ", fileName, L": unknown exception thrown while opening.");
  return XmlFailure;
}

std::uint32_t TARVIK_CALL CloseXML(XmlFileList* list, std::uint32_t cookie) {
  const CharsetScope charset;
  const Trace trace(L"CloseXML");
  XmlFileRecord* const record = FindXmlFile(list, cookie);
  if (record == nullptr) return XmlSuccess;

  LogDetail(L"Closing ", record->fileName, L" (", record->cookie, L")...");
  FreeXmlFile(record);
  list->files.remove_if([record](const XmlFileRecord& it) { return &it == record; });
  return XmlSuccess;
}
