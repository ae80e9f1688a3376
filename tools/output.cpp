#include "input_output.h"

#include <corekit/corekit.h>

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include "host/ostrumxml/data/utf8.h"
#include "system.h"
#include "text/convert.h"

namespace {

const bool outputIsTerminal = console::IsTerminal(stdout);

// Text for people: control characters, except those in `kept`, and characters that the user's
// character set lacks are written as escapes, such as "\u001b".
std::string Printable(std::string_view utf8, std::string_view kept = {}) {
  const auto isContinued = [](char byte) { return (static_cast<unsigned char>(byte) >> 6) == 2; };
  std::string result;
  for (std::size_t at = 0, end = 0; at < utf8.size(); at = end) {
    do ++end;
    while (end < utf8.size() && isContinued(utf8[end]));
    const std::string_view character = utf8.substr(at, end - at);
    const std::wstring wide = Ostrum::WideFromUtf8(character);
    const bool isControl = wide[0] < 0x20 || (wide[0] >= 0x7F && wide[0] < 0xA0);
    const bool isPrinted = !isControl || kept.find(character) != std::string_view::npos;
    if (isPrinted && IsRepresentable(character)) {
      result += FromUtf8(character).value();
      continue;
    }
    const std::string quoted = Json(character).dump(-1, ' ', true);
    result.append(quoted, 1, quoted.size() - 2);
  }
  return result;
}

std::optional<std::string> ToUtf8(const std::string& userText) {
  if (userText.find('\0') != std::string::npos) return std::nullopt;
  return std::optional<std::string>(DocumentText(userText.c_str()).Text());
}

// The context is not null if traces are to be shown, too.
void ShowLogLine(void* context, corekit::LogKind kind, const wchar_t* component,
                 const wchar_t* text) try {
  std::wstring line;
  if (kind == corekit::LogKind::TraceEnter) line = L"> ";
  if (kind == corekit::LogKind::TraceLeave) line = L"< ";
  if (!line.empty() && context == nullptr) return;
  line.append(component).append(L": ").append(text);
  std::string utf8;
  Ostrum::Utf8FromWide(line, utf8);
  console::Write(stderr, Printable(utf8) + '\n');
} catch (const std::exception&) { // a sink must not throw; without memory the line is lost
}

} // namespace

std::string RequireUtf8(const std::string& userText, const std::string& name) {
  auto utf8 = ToUtf8(userText);
  if (!utf8) throw UsageError(name + ": is not text in the locale's character set");
  return *std::move(utf8);
}

std::optional<std::string> FromUtf8(std::string_view utf8) {
  return std::optional<std::string>(LocaleText(utf8).Text());
}

bool UserTextIsUtf8() { return platform::CurrentCharset().plain == platform::PlainText::Utf8; }

void Print(std::string_view utf8, std::string_view end) {
  const auto userText = FromUtf8(utf8);
  if (!userText)
    throw std::runtime_error("the locale's character set can't represent " + std::string(utf8));
  console::Write(stdout, outputIsTerminal ? Printable(utf8, "\t\n") : *userText);
  console::Write(stdout, end);
}

void PrintBytes(std::string_view bytes) {
  if (!outputIsTerminal) return console::Write(stdout, bytes);
  if (!Ostrum::IsUtf8(bytes)) throw std::runtime_error("the result is not text for a terminal");
  console::Write(stdout, Printable(bytes, "\t\n"));
}

void PrintJson(const Json& json) {
  constexpr int indentation = 2;
  Print(json.dump(indentation, ' ', !UserTextIsUtf8()));
}

// The object's own functions look for each name among all those before it.
void PrintJson(const Members& members) {
  Json::object_t object;
  std::unordered_map<std::string, std::size_t> places;
  for (const auto& [name, value] : members) {
    const auto [place, isNew] = places.try_emplace(name, object.size());
    if (isNew) object.emplace_back(name, nullptr);
    object.data()[place->second].second = value;
  }
  PrintJson(Json(std::move(object)));
}

std::string Field(std::string text) {
  const auto isSeparator = [](char c) { return c == '\t' || c == '\n' || c == '\r'; };
  std::ranges::replace_if(text, isSeparator, ' ');
  return text;
}

std::string Listed(const std::vector<std::string>& items) {
  std::string line;
  for (std::size_t i = 0; i < std::min(items.size(), maxListed); ++i)
    line.append(i > 0 ? ", " : "").append(items[i]);
  if (items.size() > maxListed)
    line += " and " + std::to_string(items.size() - maxListed) + " more";
  return line;
}

std::string Shown(std::string userText) {
  if (auto utf8 = ToUtf8(userText)) return *utf8;
  for (char& byte : userText) byte = static_cast<unsigned char>(byte) > 0x7F ? '?' : byte;
  return userText;
}

void PrintMessage(const std::string& file, const std::string& text) {
  std::string line = file == "-" ? "standard input" : Shown(file);
  if (!file.empty() && !text.starts_with(':')) line += ": ";
  console::Write(stderr, "tarvik: " + Printable(line + text) + '\n');
}

void PrintMessage(const std::string& file, const std::exception& why) {
  std::string text = why.what();
  if (dynamic_cast<const std::bad_alloc*>(&why) != nullptr) text = "out of memory";
  const auto* const place = dynamic_cast<const Ostrum::ReadFailure*>(&why);
  if (place != nullptr && place->line > 0)
    text = ':' + std::to_string(place->line) + ':' + std::to_string(place->column) + ": " + text;
  PrintMessage(file, text);
}

void ShowLog(int level) {
  if (level > 0) corekit::SetLogSink(ShowLogLine, level > 1 ? stderr : nullptr);
}

bool FlushOutput() { return std::fflush(stdout) == 0 && std::ferror(stdout) == 0; }
