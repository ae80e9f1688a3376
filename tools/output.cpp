#include "output.h"

#include <corekit/corekit.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "host/ostrumxml/data/utf8.h"
#include "system.h"

namespace {

using console::Stream;

constexpr const char *red = "\033[1;31m", *green = "\033[32m", *dim = "\033[2m", *bold = "\033[1m";

std::string buffered; // for standard output
int logLevel = 0;

bool OutputIsTerminal() {
  static const bool isTerminal = console::IsTerminal(Stream::Output);
  return isTerminal;
}

// Adds the colour if the stream is a terminal with colours and NO_COLOR is not set.
std::string Coloured(Stream stream, const char* colour, const std::string& text) {
  const char* const noColour = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  const bool isRefused = noColour != nullptr && *noColour != '\0';
  const bool isPlain = terminal == nullptr || std::string_view(terminal) == "dumb";
  if (isRefused || isPlain || !console::IsTerminal(stream)) return text;
  return colour + text + "\033[0m";
}

void Append(std::string_view bytes) {
  constexpr std::size_t enough = 65536;
  buffered += bytes;
  if (buffered.size() >= enough) FlushOutput();
}

void PrintError(const std::string& line) { console::Write(Stream::Error, line + '\n'); }

// The bytes of a character of UTF-8, by its first byte.
std::size_t CharacterLength(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if (byte < 0xC0) return 1;
  if (byte < 0xE0) return 2;
  return byte < 0xF0 ? 3 : 4;
}

void AppendEscapes(std::string_view character, std::string& text) {
  for (const wchar_t unit : Ostrum::WideFromUtf8(character)) {
    char escape[sizeof "\\u0010ffff"];
    std::snprintf(escape, sizeof escape, "\\u%04lx", static_cast<unsigned long>(unit));
    text += escape;
  }
}

bool IsControl(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  const bool isC1 = character.size() == 2 && first == 0xC2 && character[1] < '\xA0';
  return first < 0x20 || first == 0x7F || isC1;
}

void ShowLogLine(void*, corekit::LogKind kind, const wchar_t* component, const wchar_t* text) try {
  std::wstring line;
  if (kind == corekit::LogKind::TraceEnter) line = L"> ";
  if (kind == corekit::LogKind::TraceLeave) line = L"< ";
  if (!line.empty() && logLevel < 2) return;
  line.append(component).append(L": ").append(text);
  std::string utf8;
  Ostrum::Utf8FromWide(line, utf8);
  const char* const colour = kind == corekit::LogKind::Error ? red : dim;
  PrintError(Coloured(Stream::Error, colour, Printable(utf8)));
} catch (const std::exception&) { // a sink must not throw; without memory the line is lost
}

} // namespace

std::string Printable(std::string_view utf8, std::string_view kept) {
  std::string result;
  while (!utf8.empty()) {
    const std::string_view character = utf8.substr(0, CharacterLength(utf8.front()));
    const bool isKept = !IsControl(character) || kept.find(character) != std::string_view::npos;
    const auto userText = isKept ? console::FromUtf8(character) : std::nullopt;
    if (userText) {
      result += *userText;
    } else {
      AppendEscapes(character, result);
    }
    utf8.remove_prefix(character.size());
  }
  return result;
}

void Print(std::string_view utf8, std::string_view end) {
  const auto userText = console::FromUtf8(utf8);
  if (!userText) {
    throw CommandError("the locale's character set (" + console::CharsetName() +
                       ") can't represent " + Printable(utf8));
  }
  Append(OutputIsTerminal() ? Printable(utf8, "\t\n") : *userText);
  Append(end);
}

void PrintGood(std::string_view utf8, bool isGood) {
  Append(Coloured(Stream::Output, isGood ? green : red, std::string(utf8)) + '\n');
}

void PrintBytes(std::string_view bytes) {
  Append(OutputIsTerminal() ? Printable(bytes, "\t\n") : bytes);
}

void PrintJson(const std::vector<std::string>& members, std::string_view brackets) {
  std::string separator = std::string(brackets.substr(0, 1)) + "\n  ";
  for (const std::string& member : members) {
    Print(std::exchange(separator, ",\n  ") + member, "");
  }
  Print(members.empty() ? brackets : "\n" + std::string(brackets.substr(1)));
}

std::string RowText(const Row& row) {
  std::string line;
  for (const std::string& field : row) {
    if (&field != &row.front()) line += '\t';
    const auto start = static_cast<std::ptrdiff_t>(line.size());
    line += field;
    const auto isSeparator = [](char c) { return c == '\t' || c == '\n' || c == '\r'; };
    std::replace_if(line.begin() + start, line.end(), isSeparator, ' ');
  }
  return line;
}

void PrintHeader(const Row& names) {
  if (OutputIsTerminal()) Append(Coloured(Stream::Output, bold, RowText(names)) + '\n');
}

std::string Listed(const std::vector<std::string>& items) {
  std::string line;
  for (std::size_t i = 0; i < std::min(items.size(), maxListed); ++i) {
    line.append(i > 0 ? ", " : "").append(items[i]);
  }
  if (items.size() > maxListed)
    line += " and " + std::to_string(items.size() - maxListed) + " more";
  return line;
}

std::string AfterFile(std::string_view shownFile, std::string_view text) {
  if (shownFile.empty()) return std::string(text);
  return std::string(shownFile).append(text.starts_with(':') ? "" : ": ").append(text);
}

void PrintMessage(std::string_view line) {
  PrintError(Coloured(Stream::Error, red, "tarvik:") + ' ' + Printable(line));
}

void ShowLog(int level) {
  logLevel = level;
  if (level > 0) corekit::SetLogSink(ShowLogLine, nullptr);
}

void FlushOutput() {
  const std::string bytes = std::exchange(buffered, {});
  if (!console::Write(Stream::Output, bytes))
    throw CommandError("standard output cannot be written");
}
