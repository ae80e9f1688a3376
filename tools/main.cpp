// The command `tarvik`: the library for users and scripts.
#include <corekit/corekit.h>
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "document.h"
#include "help_texts.h"
#include "text.h"

namespace {

// CLI11 gives some arguments a meaning: "[a,b]" is two values, "++" ends a subcommand. So arguments
// that do not begin with a letter or digit and are no options, and all arguments after "--", are
// passed to it with a mark in front.
constexpr char DataMark = '\x1F';

std::vector<std::string> MarkData(int argumentCount, char** arguments) {
  std::vector<std::string> marked;
  bool isData = false;
  for (int i = 1; i < argumentCount; ++i) {
    const std::string argument = arguments[i];
    if (argument == "--" && !std::exchange(isData, true)) continue;
    const auto first = static_cast<unsigned char>(argument[0]);
    const bool isOption = first == '-' && argument.size() > 1 &&
                          std::isdigit(static_cast<unsigned char>(argument[1])) == 0;
    marked.push_back(!isData && (isOption || std::isalnum(first) != 0) ? argument
                                                                       : DataMark + argument);
  }
  return marked;
}

std::string Unmarked(std::string argument) {
  if (argument.starts_with(DataMark)) argument.erase(0, 1);
  return argument;
}

// An argument as UTF-8 for messages. If it is not valid text, "?" stands for each byte beyond
// ASCII.
std::string Shown(std::string argument) {
  const auto utf8 = FromLocale(argument);
  for (char& byte : argument) byte = static_cast<unsigned char>(byte) > 0x7F ? '?' : byte;
  return utf8.value_or(argument);
}

std::string RequireText(const std::string& text, const std::string& what) {
  const auto utf8 = FromLocale(text);
  return utf8 ? *utf8 : throw CommandError(what + ": is not text in the locale's character set");
}

std::string ReadAll(std::istream& stream, const std::string& name) {
  std::string all;
  for (char part[4096]; stream.read(part, sizeof part), stream.gcount() > 0;) {
    all.append(part, static_cast<std::size_t>(stream.gcount()));
  }
  return stream.eof() ? all : throw CommandError(name + ": can't be read");
}

// Copies standard input to a file that only this user can read. The returned owner of the name
// removes the file.
using TemporaryFile = std::unique_ptr<const char, int (*)(const char*)>;
TemporaryFile KeepInput(std::string& name) {
  const std::string input = ReadAll(std::cin, "standard input");
  std::error_code noFolder;
  name = (std::filesystem::temp_directory_path(noFolder) / "tarvik-XXXXXX").string();
  const int descriptor = noFolder ? -1 : mkstemp(name.data());
  TemporaryFile kept(descriptor >= 0 && close(descriptor) == 0 ? name.c_str() : nullptr,
                     std::remove);
  if (kept && std::ofstream(name, std::ios::binary) << input << std::flush) return kept;
  throw CommandError(
      "standard input: can't be kept in a temporary file; TMPDIR can name another folder");
}

// Standard input without the line end that the shell appends.
std::string ReadValue() {
  std::string value = ReadAll(std::cin, "standard input");
  if (value.ends_with('\n')) value.erase(value.size() - (value.ends_with("\r\n") ? 2 : 1));
  return RequireText(value, "standard input");
}

void UseKey(const std::string& keyFile) {
  std::ifstream file(keyFile, std::ios::binary);
  const std::string bytes = ReadAll(file, Shown(keyFile));
  if (bytes.size() != 32) throw CommandError(Shown(keyFile) + ": not a 32-byte key");
  CorekitSetCipherKey(reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

// For CLI11: the error message for an option's value, empty if the value is valid.
std::string IsGiven(const std::string& value) { return value.empty() ? "a value is required" : ""; }

struct Subcommand {
  std::string_view name;
  Command* run;            // null for commands that open no document
  std::size_t least, most; // numbers of arguments
  const char* arguments;
};

constexpr std::size_t Many = static_cast<std::size_t>(-1);
constexpr Subcommand Subcommands[] = {{"get", Get, 2, Many, "FILE PATH [ITEM]..."},
                                      {"list", List, 1, 2, "FILE [PATH]"},
                                      {"set", Set, 3, Many, "FILE PATH ITEM VALUE [ITEM VALUE]..."},
                                      {"check", nullptr, 1, 1, "FILE"},
                                      {"status", Status, 1, 1, "FILE"},
                                      {"detect", Detect, 1, 4, "FILE [PRODUCT BRANCH TYPE]"},
                                      {"files", Files, 1, 1, "FILE"},
                                      {"match", Match, 2, 2, "FILE NAME"},
                                      {"help", nullptr, 0, 1, "[COMMAND]"}};

class CommandLine {
 public:
  CommandLine() {
    app.require_subcommand(1);
    app.set_version_flag("--version", VersionText);
    CLI::Option* encrypted = app.add_flag("-e,--encrypted", options.encrypted);
    app.add_option("--key-file", keyFile)->transform(Unmarked)->check(IsGiven)->needs(encrypted);
    app.add_flag("-j,--json", options.json);
    app.add_flag("-v", verbosity);
    app.fallthrough(); // so that these options can follow the subcommand
    for (const Subcommand& each : Subcommands) {
      CLI::App* added = app.add_subcommand(std::string(each.name));
      added->allow_windows_style_options(false); // a file name may begin with "/"
      added->callback([this, &each] { command = &each; });
      added->add_option("ARGUMENT", arguments)->transform(Unmarked);
    }
    AddOptions(*app.get_subcommand("get"), *app.get_subcommand("list"), *app.get_subcommand("set"));
  }

  ExitStatus Run(int argumentCount, char** argumentTexts) {
    const std::vector<std::string> marked = MarkData(argumentCount, argumentTexts);
    try {
      app.parse(std::vector<std::string>(marked.rbegin(),
                                         marked.rend())); // CLI11 expects the reverse order
    } catch (const CLI::CallForHelp&) {
      return PrintHelp(Chosen().get_name());
    } catch (const CLI::CallForVersion& version) {
      PrintValue(version.what());
      return ExitStatus::Found;
    } catch (const CLI::ParseError& error) {
      Refuse(Complaint(error));
    }
    if (arguments.size() < command->least || arguments.size() > command->most) {
      Refuse(std::string("the arguments must be ") + command->arguments);
    }
    if (command->name == "help") return PrintHelp(arguments.empty() ? "" : arguments.front());
    for (const std::string& argument : arguments)
      options.arguments.push_back(RequireText(argument, Shown(argument)));
    options.file = arguments.front();
    options.shownFile = options.arguments.front();
    options.arguments.erase(options.arguments.begin());
    try {
      return RunCommand();
    } catch (const std::bad_alloc&) {
      throw CommandError(options.shownFile + ": out of memory");
    }
  }

 private:
  ExitStatus RunCommand() {
    const bool isSet = command->run == Set, readsInput = options.file == "-";
    if (options.file.empty()) Refuse("FILE is empty");
    if (readsInput && (isSet || command->run == Match))
      Refuse("FILE: standard input can't be saved, and has no name");
    const bool lacksValue = isSet && options.arguments.size() % 2 == 0;
    if (lacksValue && !valueFromInput)
      Refuse(options.arguments.back() + ": an ITEM without a VALUE");
    if (!lacksValue && valueFromInput) Refuse("--stdin: the last ITEM has a VALUE");
    if (lacksValue) options.arguments.push_back(ReadValue());
    if (command->run == Detect && options.arguments.size() % 3 != 0)
      Refuse("PRODUCT, BRANCH and TYPE go together");
    if (!keyFile.empty()) UseKey(keyFile);
    options.attribute = RequireText(options.attribute, Shown(options.attribute));
    ShowLog(verbosity);
    if (readsInput) options.shownFile = "standard input";
    TemporaryFile kept(nullptr, std::remove);
    if (readsInput) kept = KeepInput(options.file);
    if (command->run == nullptr) return Check(options);
    const Document document(options);
    kept.reset(); // before printing, because a closed pipe can end the process
    return command->run(document, options);
  }

  static ExitStatus PrintHelp(const std::string& topic) {
    const auto text = HelpTexts.find(topic == "help" ? "" : topic);
    if (text == HelpTexts.end())
      throw CommandError(Shown(topic) + ": there is no such command (tarvik help tells more)");
    PrintValue(text->second);
    return ExitStatus::Found;
  }

  const CLI::App& Chosen() const {
    return app.get_subcommands().empty() ? app : *app.get_subcommands().front();
  }
  [[noreturn]] void Refuse(const std::string& why) const {
    throw CommandError(why + " (tarvik " + Chosen().get_name() +
                       (Chosen().get_name().empty() ? "" : " ") + "--help tells more)");
  }

  std::string Complaint(const CLI::ParseError& error) const {
    const std::vector<std::string> extras = app.remaining(true);
    if (app.get_subcommands().empty() && extras.empty()) return "a command is required";
    std::string what = error.what();
    std::erase(what, DataMark);
    const bool isMismatch =
        error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ArgumentMismatch);
    const char* const mismatch =
        what.ends_with("missing") ? ": a value is required" : ": is given twice";
    if (isMismatch) return what.substr(0, what.find(':')) + mismatch;
    if (extras.empty()) return Shown(what);
    const bool isOption = extras.front().starts_with('-');
    return Shown(Unmarked(extras.front())) +
           (isOption ? ": no such option; use -- before a value that begins with -"
                     : ": there is no such command");
  }

  void AddOptions(CLI::App& get, CLI::App& list, CLI::App& set) {
    const CLI::Range counted(1, INT32_MAX);
    get.add_option("--attribute", options.attribute)->transform(Unmarked)->check(IsGiven);
    get.add_flag("--all", options.all)
        ->excludes(get.add_option("--index", options.index)->check(counted));
    for (CLI::App* each : {&get, &list})
      each->add_option("--occurrence", options.occurrence)->check(counted);
    list.add_option("--depth", options.depth)->check(counted);
    list.add_flag("--ids", options.withIds);
    list.add_flag("--values", options.withValues);
    set.add_flag("--attribute", options.itemIsAttribute);
    set.add_flag("--existing", options.existing);
    set.add_flag("--stdin", valueFromInput);
    set.add_flag("-n,--dry-run", options.dryRun);
  }

  CLI::App app;
  std::vector<std::string> arguments; // in the locale's character set
  Options options;
  std::string keyFile; // empty: the support library's built-in key
  int verbosity = 0;   // 1: the library's log lines, 2: its traces too
  bool valueFromInput = false;
  const Subcommand* command = nullptr;
};

// If a standard stream is closed, the next file to be opened would get its descriptor, and output
// would go to that file. A folder takes the descriptor instead, because it can be neither read nor
// written.
void OccupyStandardStreams() {
  int descriptor;
  do descriptor = open("/", O_RDONLY);
  while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
  if (descriptor > STDERR_FILENO) close(descriptor);
}

} // namespace

int main(int argumentCount, char** arguments) {
  OccupyStandardStreams();
  std::ios::sync_with_stdio(false);
  UseLocale();
  try {
    const ExitStatus status = CommandLine().Run(argumentCount, arguments);
    FlushOutput();
    return static_cast<int>(status);
  } catch (const std::exception& error) {
    const auto* const known = dynamic_cast<const CommandError*>(&error);
    PrintMessage(known != nullptr ? known->what()
                                  : FromLocale(error.what()).value_or("an unexpected error"));
    return static_cast<int>(known != nullptr ? known->status : ExitStatus::Failed);
  }
}
