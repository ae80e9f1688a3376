#include <corekit/corekit.h>
#include <tarvik/tarvik.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>

#include "commands.h"
#include "help_texts.h"
#include "output.h"
#include "text.h"

namespace {

// A number as the library takes it, counted from 1.
std::string RefuseUncounted(const std::string& text) {
  std::int32_t number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isCounted = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size() && number > 0;
  return isCounted ? "" : text + " must be a number, 1 or more";
}

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

std::string RequireText(const std::string& argument, const std::string& what) {
  const auto text = FromLocale(argument);
  return text ? *text : throw CommandError(what + ": is not text in the locale's character set");
}

std::string ReadAll(std::istream& stream) {
  return std::string{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// Standard input as a file that nobody else can read, for as long as this lives.
class InputFile {
 public:
  InputFile() : name((std::filesystem::temp_directory_path() / "tarvik-XXXXXX").string()) {
    const int descriptor = mkstemp(name.data());
    if (descriptor >= 0) close(descriptor);
    std::ofstream file(name, std::ios::binary);
    file << ReadAll(std::cin) << std::flush;
    if (descriptor >= 0 && file) return;
    if (descriptor >= 0) std::remove(name.c_str());
    throw CommandError("standard input: can't be kept in the temporary file " + name);
  }
  ~InputFile() { std::remove(name.c_str()); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::string name;
};

// All of standard input but a line end at its end, which is the shell's.
std::string ReadValue() {
  std::string value = ReadAll(std::cin);
  if (value.ends_with('\n')) value.pop_back();
  if (value.ends_with('\r')) value.pop_back();
  const auto hasZero = value.find('\0') != std::string::npos;
  return RequireText(hasZero ? "\xFF" : value, "standard input");
}

void UseKey(const std::string& keyFile) {
  std::ifstream file(keyFile, std::ios::binary);
  const std::string bytes = ReadAll(file);
  std::uint8_t key[32];
  if (!file || bytes.size() != sizeof key) throw CommandError(keyFile + ": not a 32-byte key");
  std::copy(bytes.begin(), bytes.end(), key);
  corekit::SetCipherKey(key);
}

using Command = ExitStatus (*)(const Options& options);

class CommandLine {
 public:
  CommandLine() {
    app.require_subcommand(1);
    app.add_flag_callback("--version", [] { throw CLI::CallForVersion(); });
    AddCommonOptions(app);
    AddReading();
    AddSetting();
    AddQueries();
    AddText(app.add_subcommand("help"), "COMMAND", helpTopic);
  }

  ExitStatus Run(int argumentCount, char** arguments) {
    std::vector<std::string> marked = MarkData(argumentCount, arguments);
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
      throw CommandError(Complaint(error) + Pointer());
    }
    return command == nullptr ? PrintHelp(helpTopic) : RunCommand();
  }

 private:
  ExitStatus RunCommand() {
    const bool readsInput = options.file == "-";
    if (readsInput && command == Set) throw CommandError("standard input: can't be saved; name a file" + Pointer());
    if (readsInput && command == Match) throw CommandError("standard input: has no name" + Pointer());
    const bool lacksValue = command == Set && options.items.size() % 2 == 1;
    if (lacksValue && !valueFromInput)
      throw CommandError(options.items.back() + ": an ITEM without a VALUE" + Pointer());
    if (!lacksValue && valueFromInput) throw CommandError("--stdin: the last ITEM has a VALUE" + Pointer());
    if (lacksValue) options.items.push_back(ReadValue());
    if (!keyFile.empty()) UseKey(Unmarked(keyFile));
    ShowLog(verbosity);
    std::optional<InputFile> input;
    options.shownFile = readsInput ? "standard input" : RequireText(options.file, "FILE");
    if (readsInput) options.file = input.emplace().name;
    return command(options);
  }

  static ExitStatus PrintHelp(const std::string& topic) {
    for (const auto& [name, text] : HelpTexts) {
      if (name != topic) continue;
      PrintValue(text.substr(0, text.size() - 1));
      return ExitStatus::Found;
    }
    throw CommandError(topic + ": there is no such command (tarvik help tells more)");
  }

  std::string ChosenName() const {
    const auto chosen = app.get_subcommands();
    return chosen.empty() ? "" : chosen.front()->get_name();
  }
  std::string Pointer() const {
    return " (tarvik " + (ChosenName().empty() ? "" : ChosenName() + ' ') + "--help tells more)";
  }

  std::string Complaint(const CLI::ParseError& error) const {
    const auto chosen = app.get_subcommands();
    const auto extras = chosen.empty() ? app.remaining() : chosen.front()->remaining();
    if (extras.empty()) return chosen.empty() ? "a command is required" : error.what();
    const std::string first = RequireText(Unmarked(extras.front()), "an argument");
    if (extras.front().starts_with('-')) return first + ": no such option; use -- before a value that begins with -";
    return first + (chosen.empty() ? ": there is no such command" : ": one argument too many");
  }

  void AddCommonOptions(CLI::App& to) {
    CLI::Option* encrypted = to.add_flag("-e,--encrypted", options.encrypted);
    to.add_option("--key-file", keyFile)->needs(encrypted);
    to.add_flag("-j,--json", options.json);
    to.add_flag("-v", verbosity);
  }

  CLI::App* Add(const char* name, Command run) {
    CLI::App* added = app.add_subcommand(name);
    added->allow_windows_style_options(false); // a file name may begin with "/"
    added->callback([this, run] { command = run; });
    added->add_option_function<std::string>("FILE", [this](const std::string& text) { options.file = Unmarked(text); })
        ->required();
    AddCommonOptions(*added);
    return added;
  }

  static CLI::Option* AddText(CLI::App* to, const char* name, std::string& value) {
    const auto store = [&value, name](const std::string& text) { value = RequireText(Unmarked(text), name); };
    return to->add_option_function<std::string>(name, store);
  }

  static CLI::Option* AddNumber(CLI::App* to, const char* name, std::uint32_t& value) {
    return to->add_option(name, value)->check(RefuseUncounted, "", "");
  }

  CLI::Option* AddItems(CLI::App* to, const char* name) {
    return to->add_option_function<std::vector<std::string>>(name, [this, name](const std::vector<std::string>& texts) {
      for (const std::string& text : texts) options.items.push_back(RequireText(Unmarked(text), name));
    });
  }

  void AddReading() {
    CLI::App* get = Add("get", Get);
    AddText(get, "PATH", options.path)->required();
    AddItems(get, "ITEM");
    AddText(get, "--attribute", options.attribute);
    get->add_flag("--all", options.all)->excludes(AddNumber(get, "--index", options.index));
    CLI::App* list = Add("list", List);
    AddText(list, "PATH", options.path);
    AddNumber(list, "--depth", options.depth);
    list->add_flag("--ids", options.withIds);
    list->add_flag("--values", options.withValues);
    for (CLI::App* each : {get, list}) AddNumber(each, "--occurrence", options.occurrence);
    Add("check", Check);
  }

  void AddSetting() {
    CLI::App* set = Add("set", Set);
    AddText(set, "PATH", options.path)->required();
    AddItems(set, "ITEM and VALUE")->required();
    set->add_flag("--attribute", options.itemIsAttribute);
    set->add_flag("--existing", options.existing);
    set->add_flag("--stdin", valueFromInput);
    set->add_flag("-n,--dry-run", options.dryRun);
  }

  void AddQueries() {
    Add("status", Status);
    Add("files", Files);
    AddText(Add("match", Match), "NAME", options.name)->required();
    CLI::App* detect = Add("detect", Detect);
    CLI::Option* product = AddText(detect, "PRODUCT", options.product);
    CLI::Option* branch = AddText(detect, "BRANCH", options.branch);
    CLI::Option* type = AddText(detect, "TYPE", options.packageType);
    product->needs(type);
    branch->needs(type);
  }

  CLI::App app;
  Options options;
  std::string keyFile; // empty: the key built into the support library
  int verbosity = 0;   // 1: the library's log lines, 2: its traces too
  bool valueFromInput = false;
  std::string helpTopic;
  Command command = nullptr;
};

} // namespace

ExitStatus RunCommandLine(int argumentCount, char** arguments) { return CommandLine().Run(argumentCount, arguments); }
