#include "edit.h"

#include <nlohmann/json.hpp>
#include <unordered_set>

#include "input.h"

namespace {

[[noreturn]] void Refuse(const std::string& why) { throw UsageError("--from: " + why); }

// Receives the parts of a JSON text. A document built from them would not tell how a number was
// written, nor that a name comes twice.
class SettingsReader : public nlohmann::json_sax<Json> {
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
  bool start_object(std::size_t) override {
    if (!settings.empty()) RefuseValue();
    return true;
  }
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
  [[noreturn]] void RefuseValue() const {
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

} // namespace

std::vector<Change> ReadSettings(const std::string& file) try {
  SettingsReader reader;
  Json::sax_parse(ReadBytes(file), &reader);
  return std::move(reader.settings);
} catch (const Ostrum::ReadFailure& failure) {
  throw UsageError("--from: " + file + ' ' + failure.what());
}
