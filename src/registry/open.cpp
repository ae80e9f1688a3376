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
#include "registry/record.h"
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

// Opening has failed, and its log lines are written.
struct Refusal {
  std::uint32_t code;
};

[[noreturn]] void Refuse(std::uint32_t code, const char* name, const auto&... why) {
  LogDetail(L"Failed to open ", name, L":  ", why...);
  throw Refusal{code};
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

std::unique_ptr<Ostrum::DocumentFile> FileOf(const char* name, bool encrypted) {
  const WideText wideName(ConvertToUnicode(name));
  if (wideName == nullptr) {
    LogReason(L"the file name is not valid text in the caller's character set");
    Refuse(XmlFailure, name, L"unable to convert the file name.");
  }
  using corekit::KCryptWrap;
  return std::make_unique<Ostrum::DocumentFile>(platform::AbsoluteFileName(name, wideName.get()),
                                                encrypted ? &KCryptWrap::decrypt_data : nullptr,
                                                encrypted ? &KCryptWrap::encrypt_data : nullptr);
}

[[noreturn]] void RefuseToRead(const Ostrum::ReadFailure& failure, const char* name) {
  LogReason(name, L": ", failure.what());
  Refuse(CodeOfReadResult(failure.result), name, long{failure.result});
}

std::string ReadText(Ostrum::DocumentFile& file, const char* name) {
  auto result = Ostrum::ReadFailed;
  try {
    return file.Read().utf8;
  } catch (const Ostrum::ReadFailure& failure) {
    RefuseToRead(failure, name);
  } catch (const std::bad_alloc&) {
    LogReason(noMemoryReason);
    result = Ostrum::ReadNoMemory;
  } catch (...) {
    LogReason(unknownReason);
  }
  Refuse(CodeOfReadResult(result), name, long{result});
}

std::list<XmlFileRecord> NewRecord(const char* name) {
  try {
    return std::list<XmlFileRecord>(1);
  } catch (const std::bad_alloc&) {
    LogReason(noMemoryReason);
    Refuse(XmlOutOfMemory, name, L"unable to allocate memory for ", name, L".");
  }
}

std::unique_ptr<Ostrum::Document> Parse(std::string text, const char* name) {
  const int length = static_cast<int>(text.size()); // the reader rejects longer text
  Ostrum::PARSER_ERROR error = Ostrum::NO_PARSER_ERROR;
  int line = 0, column = 0;
  std::unique_ptr<Ostrum::Document> document(
      Ostrum::ParseXML(std::move(text), length, error, line, column));
  if (document != nullptr) return document;
  LogReason(line, L":", column, L": ", Ostrum::ReasonOf(error));
  Refuse(XmlOutOfMemory, name, L"unable to parse ", name, L".");
}

std::unique_ptr<ElementMap> MapOf(const Ostrum::Element& root, const char* name) {
  auto map = std::make_unique<ElementMap>();
  const LocaleText rootName(root.GetName());
  if (!rootName.Text()) {
    LogReason(L"the caller's character set cannot represent the root element's name");
    Refuse(XmlFailure, name, L"unable to convert the name of the root element.");
  }
  map->Insert(*rootName.Text(), root);
  return map;
}

// Returns the new record, which is in the list.
const XmlFileRecord* OpenAnew(XmlFileList& list, const char* name, std::uint32_t encoding,
                              bool encrypted) {
  GetXMLEncoding();
  std::unique_ptr<Ostrum::DocumentFile> file = FileOf(name, encrypted);
  std::string text = ReadText(*file, name);
  std::list<XmlFileRecord> opened = NewRecord(name);
  std::unique_ptr<XmlFileRecord, decltype(&FreeXmlFile)> record(&opened.front(), &FreeXmlFile);
  record->file = std::move(file);
  try {
    record->document = Parse(std::move(text), name);
  } catch (const Ostrum::ReadFailure& failure) { // callers see that reading failed: no record yet
    static_cast<void>(record.release());         // opened owns it
    RefuseToRead(failure, name);
  }
  record->elementMap = MapOf(record->document->GetRoot(), name);
  platform::MbsCopyBytes(record->fileName, name, bufferSize - 1);
  platform::FillRandom(&record->cookie, sizeof record->cookie); // on failure, any value will do
  if (encoding != XmlOpenAtOnce) std::this_thread::sleep_for(std::chrono::seconds(1));
  list.files.splice(list.files.end(), opened);
  return record.release();
}

} // namespace

std::uint32_t TARVIK_CALL OpenXML(XmlFileList* list, const char* fileName, std::uint32_t encoding,
                                  std::int32_t encrypted, std::uint32_t* cookie) {
  const CharsetScope charset;
  const Trace trace(L"OpenXML");
  if (!ArgumentsAreThere(list, fileName, cookie)) return XmlInvalidArgument;
  try {
    const XmlFileRecord* record = FindXmlFileByName(*list, fileName);
    if (record == nullptr) record = OpenAnew(*list, fileName, encoding, encrypted != 0);
    assert(record->document && record->file && record->elementMap);
    *cookie = record->cookie;
    LogDetail(L"Opened ", record->fileName, L" (", *cookie, L") successfully.");
    return XmlSuccess;
  } catch (const Refusal& refusal) {
    return refusal.code;
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
