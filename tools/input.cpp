#include "input_output.h"

#include <corekit/corekit.h>

#include <climits>
#include <fstream>
#include <iostream>
#include <unordered_set>

#include "system.h"

namespace {

[[noreturn]] void Refuse(const std::string& why) { throw std::runtime_error(why); }

// Receives the parts of a JSON text. A document built from them would not tell how a number was
// written, nor that a name comes twice.
class MemberReader : public nlohmann::json_sax<nlohmann::json> {
 public:
  Members members;

  bool null() override { return RefuseValue(); }
  bool boolean(bool value) override { return Add(value ? "true" : "false"); }
  bool number_integer(number_integer_t value) override {
    return Add(value == 0 ? "-0" : std::to_string(value)); // others than -0 come unsigned
  }
  bool number_unsigned(number_unsigned_t value) override { return Add(std::to_string(value)); }
  bool number_float(number_float_t, const string_t& text) override { return Add(text); }
  bool string(string_t& value) override { return Add(value); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return members.empty() || RefuseValue(); }
  bool key(string_t& name) override {
    if (name.find('\0') != string_t::npos) Refuse("a name contains a zero character");
    if (!names.insert(name).second) Refuse(name + " comes twice");
    members.emplace_back(name, "");
    return true;
  }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return RefuseValue(); }
  bool end_array() override { return true; }
  bool parse_error(std::size_t offset, const std::string& token,
                   const nlohmann::json::exception& error) override {
    constexpr int outOfRange = 406; // as the JSON library numbers its errors
    if (error.id == outOfRange) Refuse(token + " is out of range");
    Refuse("not valid JSON at byte offset " + std::to_string(offset));
  }

 private:
  bool RefuseValue() const {
    if (members.empty()) Refuse("the JSON must be an object of paths and values");
    Refuse(members.back().first + ": a value must be a string, a number, true or false");
  }
  bool Add(const std::string& value) {
    if (members.empty()) return RefuseValue();
    members.back().second = value;
    return true;
  }

  std::unordered_set<std::string> names;
};

} // namespace

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
  while (stream.read(part, sizeof part) || stream.gcount() > 0) {
    bytes.append(part, static_cast<std::size_t>(stream.gcount()));
    if (bytes.size() > INT_MAX)
      throw Ostrum::ReadFailure(Ostrum::ReadTooLong, "is longer than 2 GB");
  }
  if (!stream.eof()) throw std::runtime_error("cannot be read");
  return bytes;
}

Ostrum::FileText Decode(std::string bytes, const Options& options) {
  if (!options.encrypted && IsEncrypted(bytes))
    throw std::runtime_error("is encrypted; --encrypted opens it");
  const auto decrypt = options.encrypted ? corekit::KCryptWrap::decrypt_data : nullptr;
  return Ostrum::DecodeBytes(std::move(bytes), decrypt);
}

std::unique_ptr<Ostrum::Document> Parse(std::string utf8) {
  const int length = static_cast<int>(utf8.size());
  auto error = Ostrum::NO_PARSER_ERROR;
  int line = 0, column = 0;
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

Members ReadMembers(const std::string& file) {
  MemberReader reader;
  try {
    nlohmann::json::sax_parse(ReadBytes(file), &reader);
  } catch (const std::runtime_error& failure) {
    throw UsageError("--from " + Shown(file) + ": " + failure.what());
  }
  return std::move(reader.members);
}
