// The command `tarvik`: reads and changes XML files for users and scripts.
#include <corekit/corekit.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

#include "help_texts.h"
#include "input.h"
#include "output.h"
#include "system.h"

namespace {

// CLI11 gives some arguments a meaning: "[a,b]" is two values, "++" ends a subcommand. So arguments
// that are no options, and all after "--", are passed to it with a mark in front.
constexpr char dataMark = '\x1F';

std::vector<std::string> MarkData(const std::vector<std::string>& arguments) {
  std::vector<std::string> marked;
  bool areData = false;
  for (const std::string& argument : arguments) {
    if (argument == "--" && !std::exchange(areData, true)) continue;
    const bool isOption = !areData && argument.size() > 1 && argument[0] == '-' &&
                          std::isdigit(static_cast<unsigned char>(argument[1])) == 0;
    marked.push_back(isOption ? argument : dataMark + argument);
  }
  return marked;
}

std::string Unmarked(std::string argument) {
  if (argument.starts_with(dataMark)) argument.erase(0, 1);
  return argument;
}

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

class CommandLine {
 public:
  // An option's group names the commands that take it, if not all do.
  CommandLine() {
    app.set_help_flag("");
    app.allow_windows_style_options(false); // a file name may begin with "/"
    app.add_flag("-h,--help", wantsHelp);
    app.add_flag("--version", wantsVersion);
    app.add_flag("-e,--encrypted", options.encrypted);
    app.add_option("--key-file", options.keyFile)->transform(Unmarked);
    app.add_flag("-j,--json", options.json);
    app.add_flag("-v", options.verbosity);
    app.add_flag("--all", options.all)->group("get set remove");
    app.add_option("--default", options.defaultText)->transform(Unmarked)->group("get");
    app.add_flag("-z,--null", options.endsWithZero)->group("get");
    app.add_flag("--attributes", options.attributes)->group("list");
    app.add_flag("--values", options.values)->group("list");
    app.add_option("--depth", options.depth)
        ->check(CLI::PositiveNumber)
        ->group("list")
        ->transform(Unmarked);
    app.add_flag("--existing", options.existing)->group("set");
    app.add_flag("--create", options.create)->group("set");
    app.add_flag("--stdin", options.fromInput)->group("set");
    app.add_option("--from", options.from)->transform(Unmarked)->group("set");
    app.add_flag("-n,--dry-run", options.dryRun)->group("set remove");
    app.add_option("ARGUMENT", words)->transform(Unmarked);
  }

  ExitStatus Run(const std::vector<std::string>& arguments) {
    Parse(arguments);
    if (wantsVersion) {
      Print(versionText);
      return ExitStatus::Found;
    }
    if (wantsHelp) return PrintHelp(command == nullptr ? "" : command->name);
    if (words.empty()) throw UsageError("a command is required");
    if (command == nullptr) throw UsageError(Shown(words[0]) + ": no such command");
    words.erase(words.begin());
    RequireUsage();
    if (command->run == nullptr) return PrintHelp(words.empty() ? "" : Shown(words[0]));
    TakeArguments();
    return command->run(options);
  }

  // Prints a line that says why Run threw this.
  void Explain(const std::exception& error) const {
    if (dynamic_cast<const UsageError*>(&error) != nullptr) {
      const std::string name = command == nullptr ? "" : std::string(command->name) + ' ';
      PrintMessage(std::string(error.what()) + " (see tarvik " + name + "--help)");
    } else {
      PrintMessage(options.file, error);
    }
  }

 private:
  void Parse(const std::vector<std::string>& arguments) {
    std::vector<std::string> marked = MarkData(arguments);
    std::ranges::reverse(marked); // as CLI11 expects them
    std::string complaint;
    try {
      app.parse(std::move(marked));
    } catch (const CLI::ExtrasError&) {
      complaint =
          app.remaining().front() + ": no such option; use -- before a value that begins with -";
    } catch (const CLI::ArgumentMismatch& error) {
      const std::string_view what = error.what();
      complaint = std::string(what.substr(0, what.find(':'))) + ": a value is required";
    } catch (const CLI::ParseError& error) {
      complaint = error.what();
    }
    FindCommand(words.empty() ? arguments : std::vector{words.front()});
    std::erase(complaint, dataMark);
    if (!complaint.empty()) throw UsageError(Shown(complaint));
  }

  void FindCommand(const std::vector<std::string>& among) {
    const auto isName = [](const CommandEntry& entry, const std::string& word) {
      return entry.name == word;
    };
    const auto* const found = std::ranges::find_first_of(commands, among, isName);
    if (found != std::end(commands)) command = found;
  }

  void RequireUsage() const {
    const std::string name = ' ' + std::string(command->name) + ' ';
    for (const CLI::Option* const option : app.get_options()) {
      const std::string users = ' ' + option->get_group() + ' ';
      const bool isAllowed = users == " Options " || users.find(name) != std::string::npos;
      if (option->count() > 0 && !isAllowed)
        throw UsageError(option->get_name() + ":" + name + "has no such option");
    }
    if (words.size() < command->least || words.size() > command->most)
      throw UsageError(std::string("the arguments must be ") + command->arguments);
    const bool rewrites = command->run == Encrypt || command->run == Decrypt;
    if (options.keyFile && !options.encrypted && !rewrites)
      throw UsageError("--key-file requires -e");
  }

  void TakeArguments() {
    if (words[0].empty()) throw UsageError("FILE is empty");
    options.arguments.assign(words.begin() + 1, words.end());
    if (command->run != Check) {
      for (std::string& argument : options.arguments)
        argument = RequireUtf8(argument, Shown(argument));
    }
    if (options.defaultText) options.defaultText = RequireUtf8(*options.defaultText, "--default");
    if (options.keyFile) UseKey();
    options.file = words[0];
    ShowLog(options.verbosity);
  }

  void UseKey() {
    options.file = *options.keyFile; // for errors
    const std::string bytes = ReadBytes(options.file);
    if (bytes.size() != 32) throw CommandError("not a 32-byte key");
    CorekitSetCipherKey(reinterpret_cast<const std::uint8_t*>(bytes.data()));
  }

  static ExitStatus PrintHelp(std::string_view topic) {
    const auto* const text = std::ranges::find(helpTexts, topic, &HelpText::topic);
    if (text == std::end(helpTexts)) throw UsageError(std::string(topic) + ": no such command");
    Print(text->text);
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
  CommandLine commandLine;
  auto status = ExitStatus::Failed;
  try {
    status = commandLine.Run(console::Arguments(argumentCount, arguments));
    FlushOutput();
  } catch (const std::exception& error) {
    const auto* const known = dynamic_cast<const CommandError*>(&error);
    if (known != nullptr) status = known->status;
    commandLine.Explain(error);
  }
  console::HoldSignals(false);
  return static_cast<int>(status);
}
