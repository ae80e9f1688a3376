#include <nlohmann/json.hpp>
#include <unordered_set>

#include "edit.h"
#include "input.h"
#include "output.h"

namespace {

[[noreturn]] void Refuse(const std::string& why) { throw UsageError("--from: " + why); }

// Receives the parts of a JSON text. A document built from them would not tell how a number was
// written, nor that a name comes twice.
class JsonReader : public nlohmann::json_sax<Json> {
 public:
  std::vector<Change> settings;

  bool null() override { RefuseValue(); }
  bool boolean(bool value) override { return Add(value ? "true" : "false"); }
  bool number_integer(number_integer_t value) override {
    return Add(value == 0 ? "-0" : std::to_string(value)); // others than -0 come unsigned
  }
  bool number_unsigned(number_unsigned_t value) override { return Add(std::to_string(value)); }
  bool number_float(number_float_t, const string_t& text) override { return Add(text); }
  bool string(string_t& value) override { return Add(std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return settings.empty() || RefuseValue(); }
  bool key(string_t& name) override {
    if (!names.insert(name).second) Refuse(name + " comes twice");
    settings.push_back({ParsePath(name), ""});
    return true;
  }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { RefuseValue(); }
  bool end_array() override { return true; }
  bool parse_error(std::size_t offset, const std::string&, const Json::exception&) override {
    Refuse("not valid JSON at byte offset " + std::to_string(offset));
  }

 private:
  [[noreturn]] bool RefuseValue() const {
    if (settings.empty()) Refuse("the JSON must be an object of paths and values");
    Refuse(settings.back().path.text + ": a value must be a string, a number, true or false");
  }
  bool Add(std::string value) {
    if (settings.empty()) RefuseValue();
    settings.back().value = std::move(value);
    return true;
  }

  std::unordered_set<std::string> names;
};

std::vector<Change> ReadJson(const std::string& file) {
  JsonReader reader;
  try {
    Json::sax_parse(ReadBytes(file), &reader);
  } catch (const Ostrum::ReadFailure& failure) {
    Refuse(file + ' ' + failure.what());
  }
  return std::move(reader.settings);
}

// A value from standard input, without the line ending that a program put at its end.
std::string ReadValue() {
  std::string value = ReadBytes("-");
  if (value.ends_with('\n')) value.erase(value.size() - (value.ends_with("\r\n") ? 2 : 1));
  return RequireUtf8(value, "--stdin");
}

} // namespace

std::vector<Change> ReadSettings(const Options& options) {
  const std::vector<std::string>& words = options.arguments;
  const bool lacksValue = words.size() % 2 != 0;
  if (lacksValue && !options.fromInput) throw UsageError(words.back() + ": a PATH without a VALUE");
  if (!lacksValue && options.fromInput) throw UsageError("--stdin: the last PATH has a VALUE");
  const int readers = (options.file == "-") + (options.from == "-") + options.fromInput;
  if (readers > 1) throw UsageError("FILE -, --stdin and --from - exclude each other");
  if (words.empty() && !options.from) throw UsageError("nothing to set: give PATH VALUE or --from");
  std::vector<Change> changes;
  if (options.from) changes = ReadJson(*options.from);
  for (std::size_t i = 0; i < words.size(); i += 2)
    changes.push_back({ParsePath(words[i]), i + 1 < words.size() ? words[i + 1] : ""});
  if (lacksValue) changes.back().value = ReadValue();
  return changes;
}
