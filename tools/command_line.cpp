#include <corekit/corekit.h>
#include <tarvik/tarvik.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "commands.h"
#include "help_texts.h"
#include "output.h"
#include "text.h"

namespace {

// Some arguments mean something to CLI11: "[a,b]" two values, "++" the end of a command. So it gets data that does not begin
// with a letter or digit, and all that follows "--", with a mark in front.
constexpr char DataMark = '\x1F';

std::vector<std::string> MarkData(int argumentCount, char** arguments) {
  std::vector<std::string> marked;
  bool isData = false;
  for (int i = 1; i < argumentCount; ++i) {
    std::string argument = arguments[i];
    const bool isSeparator = !isData && argument == "--";
    isData = isData || isSeparator;
    if (isSeparator) continue;
    const bool isOption = argument.size() > 1 && argument[0] == '-' && (argument[1] < '0' || argument[1] > '9');
    const bool isWord = !argument.empty() && std::isalnum(static_cast<unsigned char>(argument[0])) != 0;
    if (isData || !(isOption || isWord)) argument.insert(argument.begin(), DataMark);
    marked.push_back(std::move(argument));
  }
  return marked;
}

// In the locale's character set.
std::string Unmarked(std::string argument) {
  if (argument.starts_with(DataMark)) argument.erase(0, 1);
  return argument;
}

std::string RequireText(const std::string& argument) {
  const auto text = FromLocale(argument);
  return text ? *text : throw CommandError("an argument is not text in the locale's character set");
}

std::string ReadAll(std::istream& stream) {
  return std::string{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// Standard input as a file that nobody else can read.
std::string KeepInput() {
  std::string name = (std::filesystem::temp_directory_path() / "tarvik-XXXXXX").string();
  const int descriptor = mkstemp(name.data());
  if (descriptor >= 0) close(descriptor);
  std::ofstream file(name, std::ios::binary);
  file << ReadAll(std::cin) << std::flush;
  if (descriptor >= 0 && file) return name;
  if (descriptor >= 0) std::remove(name.c_str());
  throw CommandError("standard input: can't be kept in the temporary file " + name);
}

// All of standard input but a line end at its end, which is the shell's.
std::string ReadValue() {
  std::string value = ReadAll(std::cin);
  if (value.ends_with('\n')) value.pop_back();
  if (value.ends_with('\r')) value.pop_back();
  const bool isText = value.find('\0') == std::string::npos && FromLocale(value);
  return isText ? *FromLocale(value) : throw CommandError("standard input: is not text in the locale's character set");
}

void UseKey(const std::string& keyFile) {
  std::ifstream file(keyFile, std::ios::binary);
  const std::string bytes = ReadAll(file);
  std::uint8_t key[32];
  if (!file || bytes.size() != sizeof key) throw CommandError(keyFile + ": not a 32-byte key");
  std::copy(bytes.begin(), bytes.end(), key);
  corekit::SetCipherKey(key);
}

struct Command {
  std::string_view name;
  ExitStatus (*run)(const Options& options);
  std::size_t least, most; // arguments
  const char* arguments;
};

constexpr std::size_t Many = static_cast<std::size_t>(-1);
constexpr Command Commands[] = {{"get", Get, 2, Many, "FILE PATH [ITEM]..."},
                                {"list", List, 1, 2, "FILE [PATH]"},
                                {"set", Set, 3, Many, "FILE PATH ITEM VALUE [ITEM VALUE]..."},
                                {"check", Check, 1, 1, "FILE"},
                                {"status", Status, 1, 1, "FILE"},
                                {"detect", Detect, 1, 4, "FILE [PRODUCT BRANCH TYPE]"},
                                {"files", Files, 1, 1, "FILE"},
                                {"match", Match, 2, 2, "FILE NAME"},
                                {"help", nullptr, 0, 1, "[COMMAND]"}};

class CommandLine {
 public:
  CommandLine() {
    app.require_subcommand(1);
    app.add_flag_callback("--version", [] { throw CLI::CallForVersion(); });
    AddCommonOptions(app);
    for (const Command& each : Commands) {
      CLI::App* added = app.add_subcommand(std::string(each.name));
      added->allow_windows_style_options(false); // a file name may begin with "/"
      added->callback([this, &each] { command = &each; });
      added->add_option("ARGUMENT", arguments);
      AddCommonOptions(*added);
    }
    AddOptions(*app.get_subcommand("get"), *app.get_subcommand("list"), *app.get_subcommand("set"));
  }

  ExitStatus Run(int argumentCount, char** argumentTexts) {
    std::vector<std::string> marked = MarkData(argumentCount, argumentTexts);
    std::reverse(marked.begin(), marked.end()); // as CLI11 wants them
    try {
      app.parse(marked);
    } catch (const CLI::CallForHelp&) {
      return PrintHelp(ChosenName());
    } catch (const CLI::CallForVersion&) {
      PrintValue("tarvik " + std::to_string(TARVIK_VERSION_MAJOR) + '.' + std::to_string(TARVIK_VERSION_MINOR) + '.' +
                 std::to_string(TARVIK_VERSION_PATCH));
      return ExitStatus::Found;
    } catch (const CLI::ParseError& error) {
      Refuse(Complaint(error));
    }
    const bool fits = arguments.size() >= command->least && arguments.size() <= command->most;
    if (!fits) Refuse(std::string("the arguments must be ") + command->arguments);
    std::transform(arguments.begin(), arguments.end(), arguments.begin(), Unmarked);
    if (command->run == nullptr) return PrintHelp(arguments.empty() ? "" : arguments.front());
    options.file = arguments.front();
    for (const std::string& argument : arguments) options.arguments.push_back(RequireText(argument));
    options.shownFile = options.arguments.front();
    options.arguments.erase(options.arguments.begin());
    return RunCommand();
  }

 private:
  ExitStatus RunCommand() {
    const bool isSet = command->run == Set, readsInput = options.file == "-";
    if (readsInput && (isSet || command->run == Match)) Refuse("FILE: standard input can't be saved, and has no name");
    const bool lacksValue = isSet && options.arguments.size() % 2 == 0;
    if (lacksValue && !valueFromInput) Refuse(options.arguments.back() + ": an ITEM without a VALUE");
    if (!lacksValue && valueFromInput) Refuse("--stdin: the last ITEM has a VALUE");
    if (lacksValue) options.arguments.push_back(ReadValue());
    if (command->run == Detect && options.arguments.size() % 3 != 0) Refuse("PRODUCT, BRANCH and TYPE go together");
    if (!keyFile.empty()) UseKey(Unmarked(keyFile));
    options.attribute = RequireText(Unmarked(options.attribute));
    ShowLog(verbosity);
    if (readsInput) options.shownFile = "standard input";
    if (readsInput) options.file = KeepInput();
    const std::shared_ptr<void> removal(nullptr, [&](void*) { readsInput ? std::remove(options.file.c_str()) : 0; });
    return command->run(options);
  }

  static ExitStatus PrintHelp(const std::string& topic) {
    for (const auto& [name, text] : HelpTexts) {
      if (name != topic) continue;
      PrintValue(std::string(text.substr(0, text.size() - 1)));
      return ExitStatus::Found;
    }
    throw CommandError(topic + ": there is no such command (tarvik help tells more)");
  }

  std::string ChosenName() const {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? "" : chosen.front()->get_name();
  }
  [[noreturn]] void Refuse(const std::string& why) const {
    throw CommandError(why + " (tarvik " + (ChosenName().empty() ? "" : ChosenName() + ' ') + "--help tells more)");
  }

  std::string Complaint(const CLI::ParseError& error) const {
    const auto chosen = app.get_subcommands();
    const auto extras = chosen.empty() ? app.remaining() : chosen.front()->remaining();
    if (extras.empty()) return chosen.empty() ? "a command is required" : error.what();
    const bool isOption = extras.front().starts_with('-');
    return RequireText(Unmarked(extras.front())) +
           (isOption ? ": no such option; use -- before a value that begins with -" : ": there is no such command");
  }

  void AddCommonOptions(CLI::App& to) {
    CLI::Option* encrypted = to.add_flag("-e,--encrypted", options.encrypted);
    to.add_option("--key-file", keyFile)->needs(encrypted);
    to.add_flag("-j,--json", options.json);
    to.add_flag("-v", verbosity);
  }

  void AddOptions(CLI::App& get, CLI::App& list, CLI::App& set) {
    const CLI::Range counted(1, INT32_MAX);
    get.add_option("--attribute", options.attribute);
    get.add_flag("--all", options.all)->excludes(get.add_option("--index", options.index)->check(counted));
    for (CLI::App* each : {&get, &list}) each->add_option("--occurrence", options.occurrence)->check(counted);
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
  std::string keyFile; // empty: the key built into the support library
  int verbosity = 0;   // 1: the library's log lines, 2: its traces too
  bool valueFromInput = false;
  const Command* command = nullptr;
};

} // namespace

ExitStatus RunCommandLine(int argumentCount, char** arguments) { return CommandLine().Run(argumentCount, arguments); }
