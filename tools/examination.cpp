// What is wrong with a file, and the command that asks.

#include <corekit/corekit.h>

#include <algorithm>
#include <fstream>

#include "document.h"
#include "host/ostrumxml/decode.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "host/ostrumxml/utf8.h"
#include "output.h"
#include "text.h"

namespace {

std::string WhyNotRead(long readResult) {
  if (readResult == Ostrum::ReadNoFile) return "there is no such file";
  if (readResult == Ostrum::ReadUnreadable) return "is there but can't be read";
  if (readResult == Ostrum::ReadRefused) return "is damaged, encrypted with another key, or not encrypted";
  if (readResult == Ostrum::ReadTooLong) return "is longer than 2 GB";
  return readResult == Ostrum::ReadNoMemory ? "can't be read: out of memory" : "can't be read";
}

// Says why the bytes are no text, and where.
void ExamineBytes(const std::string& fileName, Examination& result) {
  std::ifstream file(fileName, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::string text;
  Ostrum::UTF_ENCODINGS encoding{};
  const auto failure = Ostrum::DecodeFile(std::string(bytes), text, encoding);
  const bool isEncrypted = bytes.starts_with("TVK1");
  result.reason = isEncrypted ? "is encrypted; --encrypted opens it" : "is not text in a supported encoding";
  if (isEncrypted || !failure) return;
  result.reason = failure->reason;
  if (failure->offset == Ostrum::DecodeFailure::noOffset) return;
  const std::string_view before = std::string_view(bytes).substr(0, failure->offset);
  result.line = static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1;
  result.column = static_cast<int>(before.size() - (before.rfind('\n') + 1)) + 1; // without a line end from the start
}

} // namespace

std::unique_ptr<Ostrum::Document> Parse(std::string utf8, Examination& result) {
  const int length = static_cast<int>(utf8.size());
  Ostrum::PARSER_ERROR error = Ostrum::NO_PARSER_ERROR;
  std::unique_ptr<Ostrum::Document> document(
      Ostrum::ParseXML(std::move(utf8), length, error, result.line, result.column));
  if (document == nullptr) result.reason = Ostrum::ReasonOf(error);
  return document;
}

std::string Examination::Complaint() const {
  const std::string place = line == 0 ? "" : std::to_string(line) + ':' + std::to_string(column) + ':';
  return ':' + place + ' ' + reason;
}

Examination Examine(const std::string& fileName, bool encrypted) {
  std::string text;
  Ostrum::UTF_ENCODINGS encoding{};
  unsigned long byteCount = 0;
  Examination result;
  const Ostrum::ByteFilter decrypt = encrypted ? &corekit::KCryptWrap::decrypt_data : nullptr;
  const std::wstring wideName = Ostrum::WideFromUtf8(FromLocale(fileName).value_or(""));
  Ostrum::DocumentFile file(platform::AbsoluteFileName(fileName.c_str(), wideName.c_str()), decrypt, nullptr);
  result.readResult = file.ReadBufferFromFileNoExp(text, encoding, byteCount);
  if (result.readResult == Ostrum::ReadBadEncoding) {
    ExamineBytes(fileName, result);
  } else if (result.readResult == Ostrum::ReadDone) {
    Parse(std::move(text), result);
  } else {
    result.reason = WhyNotRead(result.readResult);
  }
  return result;
}

ExitStatus Check(const Options& options) {
  const Examination result = Examine(options.file, options.encrypted);
  const bool isRead = result.readResult == Ostrum::ReadDone || result.readResult == Ostrum::ReadBadEncoding;
  const bool isWellFormed = result.reason.empty();
  if (isRead && options.json) {
    PrintJson(
        {{"wellFormed", isWellFormed}, {"line", result.line}, {"column", result.column}, {"reason", result.reason}});
  }
  if (isWellFormed) return ExitStatus::Found;
  throw CommandError(options.shownFile + result.Complaint(), isRead ? ExitStatus::NothingFound : ExitStatus::Failed);
}
