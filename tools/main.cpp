// The command `tarvik`: reads and changes XML files for users and scripts.
#include <corekit/corekit.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <tuple>

#include "help_texts.h"
#include "input.h"
#include "output.h"
#include "system.h"

namespace {

// CLI11 gives some arguments a meaning: "[a,b]" is two values, "++" ends a subcommand. So arguments
// that do not begin with a letter or digit and are no options, and all arguments after "--", are
// passed to it with a mark in front.
constexpr char dataMark = '\x1F';

std::vector<std::string> MarkData(const std::vector<std::string>& arguments) {
  std::vector<std::string> marked;
  bool isData = false;
  for (const std::string& argument : arguments) {
    if (argument == "--" && !std::exchange(isData, true)) continue;
    const auto first = static_cast<unsigned char>(argument[0]);
    const bool isOption = first == '-' && argument.size() > 1 &&
                          std::isdigit(static_cast<unsigned char>(argument[1])) == 0;
    const bool isPlain = !isData && (isOption || std::isalnum(first) != 0);
    marked.push_back(isPlain ? argument : dataMark + argument);
  }
  return marked;
}

std::string Unmarked(std::string argument) {
  if (argument.starts_with(dataMark)) argument.erase(0, 1);
  return argument;
}

// An argument as UTF-8 for messages. If it is not valid text, "?" stands for each byte beyond
// ASCII.
std::string Shown(std::string argument) {
  if (auto utf8 = console::ToUtf8(argument)) return *utf8;
  for (char& byte : argument) byte = static_cast<unsigned char>(byte) > 0x7F ? '?' : byte;
  return argument;
}

std::string RequireText(const std::string& userText, const std::string& name) {
  auto utf8 = console::ToUtf8(userText);
  if (!utf8) throw UsageError(name + ": is not text in the locale's character set");
  return *std::move(utf8);
}

constexpr std::size_t anyNumber = SIZE_MAX;

struct CommandEntry {
  std::string_view name;
  Command* run;            // null for help
  std::size_t least, most; // numbers of arguments, FILE included
  const char* arguments;
};
constexpr CommandEntry commands[] = {
    {"get", Get, 2, anyNumber, "FILE PATH..."},
    {"list", List, 1, 2, "FILE [PATH]"},
    {"set", Set, 1, anyNumber, "FILE PATH VALUE [PATH VALUE]..."},
    {"remove", Remove, 2, anyNumber, "FILE PATH..."},
    {"check", Check, 1, anyNumber, "FILE..."},
    {"encrypt", Encrypt, 1, 1, "FILE"},
    {"decrypt", Decrypt, 1, 1, "FILE"},
    {"status", Status, 1, 1, "FILE"},
    {"detect", Detect, 1, 4, "FILE [PRODUCT BRANCH TYPE]"},
    {"files", Files, 1, 1, "FILE"},
    {"match", Match, 2, 2, "FILE NAME"},
    {"help", nullptr, 0, 1, "[COMMAND]"},
};

// The options that not every command has.
struct Switch {
  const char* names;
  bool Options::*target;
  std::string_view commands; // that take it
};
constexpr Switch switches[] = {
    {"--all", &Options::all, "get set remove"},
    {"-z,--null", &Options::endsWithZero, "get"},
    {"--attributes", &Options::attributes, "list"},
    {"--values", &Options::values, "list"},
    {"--existing", &Options::existing, "set"},
    {"--create", &Options::create, "set"},
    {"--stdin", &Options::fromInput, "set"},
    {"-n,--dry-run", &Options::dryRun, "set remove"},
};

// For CLI11: the error message for an option's value, empty if the value is valid.
std::string IsGiven(const std::string& value) { return value.empty() ? "a value is required" : ""; }

class CommandLine {
 public:
  CommandLine() {
    app.set_help_flag("");
    app.allow_windows_style_options(false); // a file name may begin with "/"
    app.add_flag("-h,--help", wantsHelp);
    app.add_flag("--version", wantsVersion);
    app.add_flag("-e,--encrypted", options.encrypted);
    app.add_option("--key-file", keyFile)->transform(Unmarked)->check(IsGiven);
    app.add_flag("-j,--json", options.json);
    app.add_flag("-v", verbosity);
    for (const Switch& each : switches)
      Limit(app.add_flag(each.names, options.*each.target), each.commands);
    Limit(app.add_option("--default", options.defaultText)->transform(Unmarked), "get");
    Limit(app.add_option("--depth", options.depth)->check(CLI::Range(1, INT32_MAX)), "list");
    Limit(app.add_option("--from", options.from)->transform(Unmarked)->check(IsGiven), "set");
    app.add_option("ARGUMENT", words)->transform(Unmarked);
  }

  ExitStatus Run(const std::vector<std::string>& arguments) {
    std::vector<std::string> marked = MarkData(arguments);
    std::ranges::reverse(marked); // as CLI11 expects them
    try {
      app.parse(std::move(marked));
    } catch (const CLI::ParseError& error) {
      for (words = arguments; command == nullptr && !words.empty(); words.erase(words.begin()))
        FindCommand();
      throw UsageError(Complaint(error));
    }
    FindCommand();
    if (wantsVersion) {
      Print(versionText);
      return ExitStatus::Found;
    }
    if (wantsHelp) return PrintHelp(command == nullptr ? "" : command->name);
    if (words.empty()) throw UsageError("a command is required");
    if (command == nullptr) throw UsageError(Shown(words[0]) + ": no such command");
    RequireOptions();
    words.erase(words.begin());
    if (words.size() < command->least || words.size() > command->most)
      throw UsageError(std::string("the arguments must be ") + command->arguments);
    if (command->run == nullptr) return PrintHelp(words.empty() ? "" : Shown(words[0]));
    TakeArguments();
    return command->run(options);
  }

  // A line for standard error that says why Run threw this.
  std::string Explain(const std::exception& error) const {
    if (dynamic_cast<const UsageError*>(&error) != nullptr) {
      const std::string name = command == nullptr ? "" : std::string(command->name) + ' ';
      return std::string(error.what()) + " (see tarvik " + name + "--help)";
    }
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr)
      return AfterFile(options.shownFile, "out of memory");
    return AfterFile(options.shownFile, error.what());
  }

 private:
  void Limit(CLI::Option* option, std::string_view users) { limited.emplace_back(option, users); }

  void FindCommand() {
    if (words.empty()) return;
    const auto* const found = std::ranges::find(commands, words[0], &CommandEntry::name);
    if (found != std::end(commands)) command = found;
  }

  void RequireOptions() const {
    for (const auto& [option, users] : limited) {
      const bool isAllowed =
          (' ' + std::string(users) + ' ').find(' ' + words[0] + ' ') != std::string::npos;
      if (option->count() > 0 && !isAllowed)
        throw UsageError(option->get_name() + ": " + words[0] + " has no such option");
    }
    const bool rewrites = command->run == Encrypt || command->run == Decrypt;
    if (!keyFile.empty() && !options.encrypted && !rewrites)
      throw UsageError("--key-file requires -e");
  }

  void TakeArguments() {
    if (words[0].empty()) throw UsageError("FILE is empty");
    for (const std::string& word : words)
      options.files.emplace_back(word, word == "-" ? "standard input" : Shown(word));
    for (std::size_t i = 1; i < words.size() && command->run != Check; ++i)
      options.arguments.push_back(RequireText(words[i], Shown(words[i])));
    if (options.defaultText) options.defaultText = RequireText(*options.defaultText, "--default");
    if (!keyFile.empty()) UseKey();
    std::tie(options.file, options.shownFile) = options.files.front();
    ShowLog(verbosity);
  }

  void UseKey() {
    options.shownFile = Shown(keyFile); // for errors
    const std::string bytes = ReadBytes(keyFile);
    if (bytes.size() != 32) throw CommandError("not a 32-byte key");
    CorekitSetCipherKey(reinterpret_cast<const std::uint8_t*>(bytes.data()));
  }

  static ExitStatus PrintHelp(std::string_view topic) {
    const auto* const text = std::ranges::find(helpTexts, topic, &HelpText::topic);
    if (text == std::end(helpTexts))
      throw UsageError(Shown(std::string(topic)) + ": no such command");
    Print(text->text);
    return ExitStatus::Found;
  }

  std::string Complaint(const CLI::ParseError& error) const {
    std::string what = error.what();
    std::erase(what, dataMark);
    const std::vector<std::string> extras = app.remaining();
    if (!extras.empty())
      return Shown(extras.front()) + ": no such option; use -- before a value that begins with -";
    if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ArgumentMismatch))
      return Shown(what);
    const bool isMissing = what.ends_with("missing");
    return what.substr(0, what.find(':')) + ": " +
           (isMissing ? "a value is required" : "is given twice");
  }

  CLI::App app;
  std::vector<std::string> words; // that are not options: the command and its arguments
  std::vector<std::pair<const CLI::Option*, std::string_view>> limited; // to these commands
  Options options;
  std::string keyFile; // empty: the support library's built-in key
  int verbosity = 0;   // 1: the library's log lines, 2: its traces too
  bool wantsHelp = false, wantsVersion = false;
  const CommandEntry* command = nullptr; // null until it is known
};

} // namespace

int main(int argumentCount, char** arguments) {
  console::Prepare();
  CommandLine commandLine;
  auto status = ExitStatus::Failed;
  try {
    status = commandLine.Run(console::Arguments(argumentCount, arguments));
    FlushOutput();
  } catch (const std::exception& error) {
    const auto* const known = dynamic_cast<const CommandError*>(&error);
    status = known == nullptr ? ExitStatus::Failed : known->status;
    PrintMessage(commandLine.Explain(error));
  }
  return static_cast<int>(status);
}
