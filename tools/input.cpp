#include "input.h"

#include <corekit/corekit.h>

#include "system.h"

namespace {

std::string DamageText(int line, int column, const std::string& reason) {
  if (line == 0) return reason;
  return ':' + std::to_string(line) + ':' + std::to_string(column) + ": " + reason;
}

} // namespace

Damage::Damage(int atLine, int atColumn, const std::string& why)
    : CommandError(DamageText(atLine, atColumn, why)),
      line(atLine),
      column(atColumn),
      reason(why) {}

bool IsEncrypted(const std::string& bytes) { return bytes.starts_with("TVK1"); }

bool IsStream(const std::string& file) {
  return file == "-" || console::IsPipe(console::FileNameOf(file));
}

std::string ReadBytes(const std::string& file) {
  const platform::FileName name = console::FileNameOf(file);
  if (!IsStream(file)) return Ostrum::DocumentFile(name, nullptr, nullptr).ReadBytes();
  std::string bytes;
  if (!console::ReadPipe(file == "-" ? nullptr : &name, bytes))
    throw CommandError("cannot be read");
  return bytes;
}

Ostrum::FileText Decode(std::string bytes, const Options& options) {
  if (!options.encrypted && IsEncrypted(bytes))
    throw CommandError("is encrypted; --encrypted opens it");
  try {
    const auto decrypt = options.encrypted ? corekit::KCryptWrap::decrypt_data : nullptr;
    return Ostrum::DecodeBytes(std::move(bytes), decrypt);
  } catch (const Ostrum::ReadFailure& failure) {
    if (failure.result != Ostrum::ReadBadEncoding) throw;
    throw Damage(failure.line, failure.column, failure.what());
  }
}

std::unique_ptr<Ostrum::Document> Parse(std::string utf8) {
  const int length = static_cast<int>(utf8.size());
  auto error = Ostrum::NO_PARSER_ERROR;
  int line = 0;
  int column = 0;
  std::unique_ptr<Ostrum::Document> document(
      Ostrum::ParseXML(std::move(utf8), length, error, line, column));
  if (document) return document;
  if (error == Ostrum::NO_PARSER_MEMORY) throw std::bad_alloc();
  throw Damage(line, column, Ostrum::ReasonOf(error));
}

std::unique_ptr<Ostrum::Document> ReadDocument(const Options& options) {
  return Parse(Decode(ReadBytes(options.file), options).utf8);
}
