// The command `tarvik`: reads and changes XML files for users and scripts.
#include <corekit/corekit.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <iterator>
#include <span>

#include "help_texts.h"
#include "input_output.h"
#include "system.h"

namespace {

struct CommandEntry {
  std::string_view name;
  Command* run;            // null for help
  std::size_t least, most; // numbers of arguments, FILE included
  const char* arguments;
};
constexpr CommandEntry commands[] = {
    {"get", Get, 2, SIZE_MAX, "FILE PATH..."},
    {"list", List, 1, 2, "FILE [PATH]"},
    {"set", Set, 1, SIZE_MAX, "FILE PATH VALUE [PATH VALUE]..."},
    {"remove", Remove, 2, SIZE_MAX, "FILE PATH..."},
    {"check", Check, 1, SIZE_MAX, "FILE..."},
    {"encrypt", Encrypt, 1, 1, "FILE"},
    {"decrypt", Decrypt, 1, 1, "FILE"},
    {"status", Status, 1, 1, "FILE"},
    {"detect", Detect, 1, 4, "FILE [PRODUCT BRANCH TYPE]"},
    {"files", Files, 1, 1, "FILE"},
    {"match", Match, 2, 2, "FILE NAME"},
    {"help", nullptr, 0, 1, "[COMMAND]"},
};

const CommandEntry* CommandOf(std::string_view name) {
  const auto* const found = std::ranges::find(commands, name, &CommandEntry::name);
  return found == std::end(commands) ? nullptr : found;
}

bool IsLetter(unsigned char character) { return std::isalpha(character) != 0; }

// A number or a list such as "- x" does not.
bool LooksLikeOption(const std::string& argument) {
  const std::size_t start = argument.find_first_not_of('-');
  const bool hasDashes = start == 1 || start == 2;
  return hasDashes && IsLetter(static_cast<unsigned char>(argument[start]));
}

class CommandLine {
 public:
  // An option's group names the commands that take it, if not all do.
  CommandLine() {
    app.set_help_flag("");
    app.allow_windows_style_options(false); // a file name may begin with "/"
    app.add_flag("-h,--help", wantsHelp);
    app.add_flag("--version", wantsVersion);
    app.add_flag("-e,--encrypted", options.encrypted);
    app.add_option("--key-file", options.keyFile);
    app.add_flag("-j,--json", options.json);
    app.add_flag("-v", options.verbosity);
    app.add_flag("--all", options.all)->group("get set remove");
    app.add_option("--default", options.defaultText)->group("get");
    app.add_flag("-z,--null", options.endsWithZero)->group("get");
    app.add_flag("--attributes", options.attributes)->group("list");
    app.add_flag("--values", options.values)->group("list");
    CLI::Option* const depth = app.add_option("--depth", options.depth);
    depth->check(CLI::Range(1U, UINT32_MAX))->group("list");
    app.add_flag("--existing", options.existing)->group("set");
    app.add_flag("--create", options.create)->group("set");
    app.add_flag("--stdin", options.fromInput)->group("set");
    app.add_option("--from", options.from)->group("set");
    app.add_flag("-n,--dry-run", options.dryRun)->group("set remove");
    app.allow_extras();
  }

  // Prints the reason if anything is thrown.
  ExitStatus Run(const std::vector<std::string>& arguments) {
    auto status = ExitStatus::Failed;
    try {
      status = RunParsed(arguments);
    } catch (const UsageError& error) {
      const std::string name = command == nullptr ? "" : std::string(command->name) + ' ';
      PrintMessage("", std::string(error.what()) + " (see tarvik " + name + "--help)");
    } catch (const std::exception& error) {
      PrintMessage(options.file, error);
      if (dynamic_cast<const NothingFound*>(&error) != nullptr) status = ExitStatus::NothingFound;
    }
    if (FlushOutput()) return status;
    PrintMessage(options.file, "standard output cannot be written");
    return ExitStatus::Failed;
  }

 private:
  ExitStatus RunParsed(const std::vector<std::string>& arguments) {
    Parse(arguments);
    if (wantsVersion) return PrintHelp("--version");
    if (wantsHelp) return PrintHelp(command == nullptr ? "" : command->name);
    if (words.empty()) throw UsageError("a command is required");
    if (command == nullptr) throw UsageError(Shown(words[0]) + ": no such command");
    words.erase(words.begin());
    RequireUsage();
    if (command->run == nullptr) return PrintHelp(words.empty() ? "" : Shown(words[0]));
    TakeArguments();
    return command->run(options);
  }

  // All arguments after "--" are words, before it those that do not look like options. CLI11 only
  // sets them aside, since it would take "[a,b]" for two.
  void Parse(const std::vector<std::string>& arguments) {
    for (auto word = arguments.begin(); word != arguments.end() && command == nullptr; ++word)
      command = CommandOf(*word); // for errors
    const auto end = std::ranges::find(arguments, "--");
    std::vector<std::string> lastFirst;
    for (auto word = end; word != arguments.begin();) {
      lastFirst.push_back(*--word);
      if (!LooksLikeOption(*word)) continue;
      // CLI11 would take the "5" of "-n5" for an argument of its own.
      const bool isGroup = !word->starts_with("--");
      if (isGroup && !std::all_of(word->begin() + 1, word->end(), IsLetter)) Refuse(*word);
      if (word->find('=') != word->size() - 1) continue;
      lastFirst.back().clear(); // CLI11 would take the next argument for the value of "--default="
      lastFirst.push_back(word->substr(0, word->size() - 1));
    }
    try {
      app.parse(std::move(lastFirst));
    } catch (const CLI::ParseError& error) {
      throw UsageError(Complaint(error));
    }
    words = app.remaining();
    const auto unknown = std::ranges::find_if(words, LooksLikeOption);
    if (unknown != words.end()) Refuse(*unknown);
    if (end != arguments.end()) words.insert(words.end(), end + 1, arguments.end());
    command = words.empty() ? nullptr : CommandOf(words[0]);
  }

  [[noreturn]] static void Refuse(const std::string& option) {
    throw UsageError(Shown(option) + ": no such option; use -- before a value that begins with -");
  }

  static std::string Complaint(const CLI::ParseError& error) {
    std::string text = error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
      text = text.substr(0, text.find(':')) + ": exactly one value is required";
    return Shown(text);
  }

  void RequireUsage() const {
    const std::string name(command->name);
    for (const CLI::Option* const option : app.get_options()) {
      const std::string& users = option->get_group();
      const bool isAllowed = users == "Options" || users.find(name) != std::string::npos;
      if (option->count() > 0 && !isAllowed)
        throw UsageError(option->get_name() + ": " + name + " has no such option");
    }
    if (words.size() < command->least || words.size() > command->most)
      throw UsageError(std::string("the arguments must be ") + command->arguments);
    const bool rewrites = command->run == Encrypt || command->run == Decrypt;
    if (options.keyFile && !options.encrypted && !rewrites)
      throw UsageError("--key-file requires -e");
  }

  void TakeArguments() {
    const std::span files = std::span(words).first(command->run == Check ? words.size() : 1);
    if (std::ranges::any_of(files, &std::string::empty)) throw UsageError("FILE is empty");
    for (std::string& argument : std::span(words).subspan(files.size()))
      argument = RequireUtf8(argument, Shown(argument));
    options.arguments.assign(words.begin() + 1, words.end());
    if (options.defaultText) options.defaultText = RequireUtf8(*options.defaultText, "--default");
    if (options.keyFile) {
      if (options.keyFile->empty()) throw UsageError("--key-file is empty");
      options.file = *options.keyFile; // for errors
      const std::string bytes = ReadBytes(options.file);
      if (bytes.size() != 32) throw std::runtime_error("not a 32-byte key");
      CorekitSetCipherKey(reinterpret_cast<const std::uint8_t*>(bytes.data()));
    }
    options.file = words[0];
    ShowLog(options.verbosity);
  }

  static ExitStatus PrintHelp(std::string_view topic) {
    const auto* const help = std::ranges::find(helpTexts, topic, &HelpText::topic);
    if (help == std::end(helpTexts)) throw UsageError(std::string(topic) + ": no such command");
    Print(help->text);
    return ExitStatus::Found;
  }

  CLI::App app;
  std::vector<std::string> words; // that are not options: the command and its arguments
  Options options;
  bool wantsHelp = false, wantsVersion = false;
  const CommandEntry* command = nullptr; // null until it is known
};

} // namespace

int main(int argumentCount, char** arguments) {
  console::Prepare();
  const auto status = CommandLine().Run(console::Arguments(argumentCount, arguments));
  console::HoldSignals(false);
  return static_cast<int>(status);
}
