#include "input.h"

#include <corekit/corekit.h>

#include <fstream>
#include <iostream>

#include "system.h"

bool IsEncrypted(const std::string& bytes) { return bytes.starts_with("TVK1"); }

bool IsStream(const std::string& file) {
  return file == "-" || console::IsPipe(console::FileNameOf(file));
}

std::string ReadBytes(const std::string& file) {
  const platform::FileName name = console::FileNameOf(file);
  if (!IsStream(file)) return Ostrum::DocumentFile(name, nullptr, nullptr).ReadBytes();
  std::string bytes;
  std::filebuf pipe;
  std::streambuf* source = std::cin.rdbuf();
  if (file != "-") source = pipe.open(name, std::ios::in | std::ios::binary);
  std::istream stream(source);
  char part[65536];
  while (stream.read(part, sizeof part) || stream.gcount() > 0)
    bytes.append(part, static_cast<std::size_t>(stream.gcount()));
  if (!stream.eof()) throw CommandError("cannot be read");
  return bytes;
}

Ostrum::FileText Decode(std::string bytes, const Options& options) {
  if (!options.encrypted && IsEncrypted(bytes))
    throw CommandError("is encrypted; --encrypted opens it");
  const auto decrypt = options.encrypted ? corekit::KCryptWrap::decrypt_data : nullptr;
  return Ostrum::DecodeBytes(std::move(bytes), decrypt);
}

std::unique_ptr<Ostrum::Document> Parse(std::string utf8) {
  const int length = static_cast<int>(utf8.size());
  auto error = Ostrum::NO_PARSER_ERROR;
  int line = 0;
  int column = 0;
  std::unique_ptr<Ostrum::Document> document(
      Ostrum::ParseXML(std::move(utf8), length, error, line, column));
  if (error == Ostrum::NO_PARSER_MEMORY) throw std::bad_alloc();
  if (!document)
    throw Ostrum::ReadFailure(Ostrum::ReadBadEncoding, Ostrum::ReasonOf(error), line, column);
  return document;
}

std::unique_ptr<Ostrum::Document> ReadDocument(const std::string& file, const Options& options) {
  return Parse(Decode(ReadBytes(file), options).utf8);
}
