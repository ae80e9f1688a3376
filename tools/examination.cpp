// Finding out what is wrong with a file, and the command `check`.
#include <corekit/corekit.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fstream>

#include "document.h"
#include "host/ostrumxml/data/utf8.h"
#include "host/ostrumxml/read/decode.h"
#include "text.h"

namespace {

// Returns why the file could not be read; empty on success.
std::string ReadBytes(const std::string& fileName, bool encrypted, std::string& bytes) {
  const std::wstring wideName = Ostrum::WideFromUtf8(FromLocale(fileName).value_or(""));
  platform::FileState state;
  const platform::FileName name = platform::AbsoluteFileName(fileName.c_str(), wideName.c_str());
  const auto status = platform::ReadWholeFile(name, INT_MAX, bytes, state);
  if (status == platform::ReadStatus::Missing) return "there is no such file";
  if (status == platform::ReadStatus::Unreadable) {
    std::error_code failure;
    const bool isFile = std::filesystem::is_regular_file(name, failure);
    if (isFile && !std::ifstream(name)) failure.assign(errno, std::generic_category());
    if (failure) return "can't be read: " + FromLocale(failure.message()).value_or("no access");
    return isFile ? "can't be read" : "is not a regular file";
  }
  if (status == platform::ReadStatus::TooLong) return "is longer than 2 GB";
  const bool isRefused = encrypted && !corekit::KCryptWrap::decrypt_data(bytes, bytes);
  return isRefused ? "is damaged, encrypted with another key, or not encrypted" : "";
}

} // namespace

Examination Parse(std::string utf8) {
  Examination result;
  result.isRead = true;
  const int length = static_cast<int>(utf8.size());
  Ostrum::PARSER_ERROR error = Ostrum::NO_PARSER_ERROR;
  result.document.reset(
      Ostrum::ParseXML(std::move(utf8), length, error, result.line, result.column));
  if (result.document == nullptr) result.reason = Ostrum::ReasonOf(error);
  return result;
}

std::string Examination::Complaint() const {
  const std::string place =
      line == 0 ? "" : std::to_string(line) + ':' + std::to_string(column) + ':';
  return ':' + place + ' ' + reason;
}

Examination Examine(const std::string& fileName, bool encrypted) {
  std::string bytes, text;
  Examination result;
  result.reason = ReadBytes(fileName, encrypted, bytes);
  result.isRead = result.reason.empty();
  if (!result.isRead) return result;
  Ostrum::UTF_ENCODINGS encoding{};
  const auto failure = Ostrum::DecodeFile(std::string(bytes), text, encoding);
  if (!failure && text.size() <= INT_MAX) return Parse(std::move(text));
  const bool isEncrypted = bytes.starts_with("TVK1");
  result.reason = isEncrypted ? "is encrypted; --encrypted opens it"
                  : failure   ? failure->reason
                              : "is longer than 2 GB in UTF-8";
  if (isEncrypted || !failure || !failure->offset) return result;
  const std::string_view before = std::string_view(bytes).substr(0, *failure->offset);
  result.line = static_cast<int>(std::ranges::count(before, '\n')) + 1;
  result.column = static_cast<int>(before.size() - (before.rfind('\n') + 1)) +
                  1; // npos wraps to 0 in the first line
  return result;
}

ExitStatus Check(const Options& options) {
  const Examination result = Examine(options.file, options.encrypted);
  const bool isWellFormed = result.reason.empty();
  if (result.isRead && options.json) {
    PrintJson({{"wellFormed", isWellFormed},
               {"line", result.line},
               {"column", result.column},
               {"reason", result.reason}});
  }
  if (isWellFormed) return ExitStatus::Found;
  throw CommandError(options.shownFile + result.Complaint(),
                     result.isRead ? ExitStatus::NothingFound : ExitStatus::Failed);
}
