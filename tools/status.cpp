#include <nlohmann/json.hpp>

#include <cstring>
#include <optional>
#include <vector>

#include "commands.h"
#include "document.h"
#include "output.h"
#include "text.h"

namespace {

std::optional<std::string> CatalogVersion(const Document& document) {
  // A version that fills the buffer may have been cut.
  for (std::vector<char> buffer(256);; buffer.resize(buffer.size() * 4)) {
    const auto capacity = static_cast<std::uint32_t>(buffer.size());
    std::uint8_t enabled = 0;
    const auto code = IsRepositoryEnabled(document.List(), document.Cookie(), &enabled, buffer.data(), &capacity);
    if (!document.Succeeded(code)) return std::nullopt;
    if (std::strlen(buffer.data()) + 1 < buffer.size()) return std::string(buffer.data());
  }
}

} // namespace

ExitStatus Status(const Options& options) {
  const Document document(options);
  std::uint8_t enabled = 0;
  const auto code = IsRepositoryEnabled(document.List(), document.Cookie(), &enabled, nullptr, nullptr);
  const bool isStatus = document.Succeeded(code);
  const auto version = isStatus ? CatalogVersion(document) : std::nullopt;
  if (options.json) {
    nlohmann::ordered_json json;
    json["enabled"] = isStatus ? nlohmann::ordered_json(enabled == 1) : nlohmann::ordered_json();
    json["catalogVersion"] = version ? nlohmann::ordered_json(ToUtf8(*version)) : nlohmann::ordered_json();
    PrintJson(json);
  } else if (isStatus) {
    PrintValue(enabled == 1 ? Coloured(Stream::Output, Colour::Green, "enabled")
                            : Coloured(Stream::Output, Colour::Red, "disabled"));
    if (version) PrintValue(*version);
  }
  return isStatus ? ExitStatus::Found : ExitStatus::NothingFound;
}
