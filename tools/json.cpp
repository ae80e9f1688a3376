#include "json.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <unordered_set>

#include "system.h"

namespace {

using Json = nlohmann::json;
using Members = std::vector<std::pair<std::string, std::string>>;

[[noreturn]] void Refuse(const std::string& why) { throw std::invalid_argument(why); }

// Receives the parts of a JSON text. A document built from them would not tell how a number was
// written, nor that a name comes twice.
class MemberReader : public nlohmann::json_sax<Json> {
 public:
  Members members;

  bool null() override { RefuseValue("null"); }
  bool boolean(bool value) override { return Add(value ? "true" : "false"); }
  bool number_integer(number_integer_t value) override {
    return Add(value == 0 ? "-0" : std::to_string(value)); // others than -0 come unsigned
  }
  bool number_unsigned(number_unsigned_t value) override { return Add(std::to_string(value)); }
  bool number_float(number_float_t, const string_t& text) override { return Add(text); }
  bool string(string_t& value) override { return Add(std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override {
    if (isInside) RefuseValue("an object");
    isInside = true;
    return true;
  }
  bool key(string_t& name) override {
    if (!names.insert(name).second) Refuse(name + " comes twice");
    members.emplace_back(name, "");
    return true;
  }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { RefuseValue("an array"); }
  bool end_array() override { return true; }
  bool parse_error(std::size_t offset, const std::string&, const Json::exception&) override {
    Refuse("not valid JSON at byte offset " + std::to_string(offset));
  }

 private:
  void RequireMember() const {
    if (members.empty()) Refuse("the JSON must be an object of paths and values");
  }
  [[noreturn]] void RefuseValue(const char* kind) const {
    RequireMember();
    Refuse("the value of " + members.back().first + " is " + kind);
  }
  bool Add(std::string value) {
    RequireMember();
    members.back().second = std::move(value);
    return true;
  }

  bool isInside = false;
  std::unordered_set<std::string> names;
};

} // namespace

std::string JsonText(std::string_view utf8) {
  constexpr int onOneLine = -1;
  return Json(utf8).dump(onOneLine, ' ', !console::IsUtf8());
}

std::string JsonMember(std::string_view name, std::string_view value) {
  return JsonText(name) + ": " + JsonText(value);
}

Members ParseJsonObject(const std::string& text) {
  MemberReader reader;
  Json::sax_parse(text, &reader);
  return std::move(reader.members);
}
