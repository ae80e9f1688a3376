#include "command_line.h"

#include <tarvik/tarvik.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <memory>
#include <vector>

#include "commands.h"
#include "output.h"
#include "text.h"

namespace {

constexpr const char* GeneralHelp = R"(Examples:
  tarvik list catalog.xml                    every element, by its path
  tarvik get catalog.xml ProductPackage ProductID
  tarvik set config.xml Network Timeout 30
  tarvik check config.xml                    is it well-formed?
  tarvik detect --json catalog.xml | jq -r '.[].Version'
  tarvik help COMMAND                        more on a command

A PATH is element names with "/" or "\" between them; a shell needs quotes around
the latter. Names are exact. A number at the end counts elements of one name:
ProductPackage2 is the second ProductPackage. 'Setting&Name=EngineFile' is the
first Setting whose attribute Name begins with EngineFile. The root's name in
front can be left out.

FILE "-" is standard input, for all but set and match.

Exit status: 0 found or done, 1 nothing found, 2 an error.)";

constexpr const char* GetHelp = R"(Examples:
  tarvik get catalog.xml ProductPackage ProductID
      the text of ProductID in the first ProductPackage
  tarvik get catalog.xml ProductPackage/ProductID
      the same; without ITEM, the last name of PATH is the item
  tarvik get config.xml Network Timeout Proxy/Port
      several items in one opening, a line each; empty where there is none
  tarvik get catalog.xml ProductPackage2/LangPackage3 LangID
      the third LangPackage of the second ProductPackage
  tarvik get catalog.xml ProductPackage/LangPackage/ExtraSettings \
      'Setting&Name=EngineFile'
      the first Setting whose attribute Name begins with EngineFile
  tarvik get catalog.xml ProductPackage ProductDetection --attribute Branch --all
      the attribute of every ProductDetection, a line each
  tarvik get site-status.xml SiteStatus --attribute Status
      an attribute of the element at PATH itself, here the root)";

constexpr const char* ListHelp = R"(Examples:
  tarvik list catalog.xml                    all elements below the root
  tarvik list catalog.xml --depth 1          the root's children alone
  tarvik list catalog.xml ProductPackage2    what is in the second ProductPackage
  tarvik list config.xml --values            with the texts, behind a tab

Every line serves as PATH of get and list, and of set where it has no number. A
number counts elements of exactly that name; an element that a path can't name so,
since another is named "Folder2", is told on standard error. Group IDs (--ids) are
the library's: there a number counts every name that begins like the element's.)";

constexpr const char* SetHelp = R"(Examples:
  tarvik set config.xml Network Timeout 30
      the text of Timeout in Network
  tarvik set config.xml Network Timeout 30 Proxy/Port 8080
      several items in one opening; where one is refused, none is set
  tarvik set config.xml Network mode fast --attribute
      the attribute mode of Network
  tarvik set config.xml Network Note --stdin <note.txt
      the value from standard input, without the line end at its end
  tarvik set config.xml Network Offset -- -5
      a value that begins with "-"
  tarvik set config.xml Network Timeout 30 --dry-run
      the lines that would change; nothing is written

Elements that are missing are made, and told on standard error; with --existing
nothing is made, and the exit status is 1. The library always sets the first
element whose name begins with the one given. Where that is not the element that
was named (one with a number, or a longer name in front), set refuses. The file is
saved at once, and every byte of it that was not set stays as it was.)";

constexpr const char* CheckHelp = R"(Prints nothing for a well-formed file (exit status 0), else file, line, column and
reason on standard error (exit status 1).

Example:
  tarvik check config.xml && tarvik set config.xml Network Timeout 30)";

constexpr const char* StatusHelp = R"(Prints "enabled" or "disabled" and, on a second line, the catalog version.

Example:
  tarvik status site-status.xml)";

constexpr const char* DetectHelp = R"(Examples:
  tarvik detect catalog.xml
      each detection entry with each language package of its branch
  tarvik detect catalog.xml HARBOR-SCAN Current Full
      the one of a product, branch and package type

A line holds, separated by tabs: ProductID, Branch, PackageType, LangID, Version,
ProductVersion, PlatformID, MinimumDATVersion, EngineFile. On a terminal they are
aligned under their names.)";

constexpr const char* FilesHelp = R"(Prints name and hash of each file, separated by a tab.

Example:
  tarvik files catalog.xml | cut -f1)";

constexpr const char* MatchHelp = R"(Prints "yes" or "no"; the exit status is 0 or 1.

Example:
  tarvik match repository/Catalog.xml catalog.xml)";

// What else an option or argument allows is told by its description.
class PlainFormatter : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    return type.empty() ? "" : " " + type;
  }
  std::string make_footer(const CLI::App* command) const override { return command->get_footer(); }
};

// A number as the library takes it, counted from 1.
std::string RefuseUncounted(const std::string& text) {
  std::int32_t number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isCounted = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size() && number > 0;
  return isCounted ? "" : text + " must be a number, 1 or more";
}

using Command = ExitStatus (*)(const Options& options);

// Some arguments mean something to CLI11: "[a,b]" two values, "++" the end of a command. So it gets data that does not begin
// with a letter or digit, and all that follows "--", with a mark in front.
constexpr char DataMark = '\x1F';

std::vector<std::string> MarkData(int argumentCount, char** arguments) {
  std::vector<std::string> marked;
  bool isData = false;
  for (int i = 1; i < argumentCount; ++i) {
    std::string argument = arguments[i];
    const bool isMark = !isData && argument == "--";
    isData = isData || isMark;
    if (isMark) continue;
    const char first = argument.empty() ? '\0' : argument.front();
    const bool isNumber = first == '-' && argument.size() > 1 && std::isdigit(static_cast<unsigned char>(argument[1]));
    const bool isPlain =
        first == '-' ? argument != "-" && !isNumber : std::isalnum(static_cast<unsigned char>(first)) != 0;
    if (isData || !isPlain) argument.insert(argument.begin(), DataMark);
    marked.push_back(std::move(argument));
  }
  return marked;
}

std::string Unmarked(std::string argument) {
  if (argument.starts_with(DataMark)) argument.erase(0, 1);
  if (!IsText(argument)) throw CommandError(argument + ": is not text in the locale's character set");
  return argument;
}

class CommandLine {
 public:
  CommandLine() {
    app.name("tarvik");
    app.set_version_flag("--version", Version(), "Show the version and exit");
    app.require_subcommand(1);
    app.footer(GeneralHelp);
    app.formatter(std::make_shared<PlainFormatter>());
    app.get_formatter()->column_width(22);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("Positionals", "Arguments");
    AddCommonOptions(app);
    AddReading();
    AddSetting();
    AddQueries();
    CLI::App* help = app.add_subcommand("help", "Show this, or more on a command")->group("Commands");
    help->add_option("COMMAND", helpTopic, "The command")->type_name("");
  }

  ExitStatus Run(int argumentCount, char** arguments) {
    std::vector<std::string> marked = MarkData(argumentCount, arguments);
    std::reverse(marked.begin(), marked.end()); // as CLI11 wants them
    try {
      app.parse(marked);
      if (command == nullptr) return PrintHelp(HelpOn(helpTopic));
    } catch (const CLI::CallForHelp&) {
      return PrintHelp(app.help());
    } catch (const CLI::CallForVersion&) {
      PrintValue(Version());
      return ExitStatus::Found;
    } catch (const CLI::ParseError& error) {
      throw CommandError(Complaint(error));
    }
    return command(options);
  }

 private:
  static ExitStatus PrintHelp(const std::string& help) {
    PrintValue(help.substr(0, help.find_last_not_of('\n') + 1));
    return ExitStatus::Found;
  }

  std::string HelpOn(const std::string& topic) {
    if (topic.empty()) return app.help();
    const auto about = app.get_subcommands([&topic](const CLI::App* each) { return each->get_name() == topic; });
    if (about.empty()) throw CommandError(topic + ": there is no such command (tarvik help tells more)");
    return about.front()->help("tarvik");
  }

  std::string Complaint(const CLI::ParseError& error) const {
    const auto chosen = app.get_subcommands();
    if (chosen.empty()) {
      const auto unknown = app.remaining();
      return (unknown.empty() ? "a command is required" : unknown.front() + ": there is no such command") +
             " (tarvik --help tells more)";
    }
    std::string complaint = error.what();
    const auto extras = chosen.front()->remaining();
    if (!extras.empty()) {
      const bool isOption = extras.front().starts_with('-');
      complaint = extras.front() + (isOption ? ": there is no such option; use -- before a value that begins with -"
                                             : ": one argument too many");
    }
    return complaint + " (tarvik " + chosen.front()->get_name() + " --help tells more)";
  }

  static std::string Version() {
    return "tarvik " + std::to_string(TARVIK_VERSION_MAJOR) + '.' + std::to_string(TARVIK_VERSION_MINOR) + '.' +
           std::to_string(TARVIK_VERSION_PATCH);
  }

  void AddCommonOptions(CLI::App& to) {
    CLI::Option* encrypted = to.add_flag("-e,--encrypted", options.encrypted, "The file is encrypted");
    AddText(&to, "--key-file", options.keyFile, "With -e: the key, 32 bytes; without it the built-in one")
        ->type_name("KEYFILE")
        ->needs(encrypted);
    to.add_flag("-j,--json", options.json, "Print JSON");
    to.add_flag("-v", options.verbosity, "Show the library's log on standard error; -vv its traces too");
  }

  CLI::App* Add(const char* name, const char* description, const char* help, Command run) {
    CLI::App* added = app.add_subcommand(name, description);
    added->allow_windows_style_options(false); // a file name may begin with "/"
    added->group("Commands");
    added->footer(help);
    added->callback([this, run] { command = run; });
    AddText(added, "FILE", options.file, "The XML file")->required();
    AddCommonOptions(*added);
    return added;
  }

  static CLI::Option* AddText(CLI::App* to, const char* name, std::string& value, const char* description) {
    const auto store = [&value](const std::string& argument) { value = Unmarked(argument); };
    return to->add_option_function<std::string>(name, store, description)->type_name("");
  }

  CLI::Option* AddItems(CLI::App* to, const char* name, const char* description) {
    const auto store = [this](const std::vector<std::string>& arguments) {
      for (const std::string& argument : arguments) options.items.push_back(Unmarked(argument));
    };
    return to->add_option_function<std::vector<std::string>>(name, store, description)->type_name("");
  }

  void AddOccurrence(CLI::App* to) {
    to->add_option("--occurrence", options.occurrence, "Which match of the last name of PATH, counted from 1")
        ->type_name("N")
        ->check(RefuseUncounted, "", "");
  }

  void AddReading() {
    CLI::App* get = Add("get", "Print items: the texts of elements, or attributes", GetHelp, Get);
    AddText(get, "PATH", options.path, "The element that the items are in")->required();
    AddItems(get, "ITEM", "The name of an element in it; without, PATH is the item");
    AddText(get, "--attribute", options.attribute, "Print this attribute instead of the text")->type_name("NAME");
    CLI::Option* index =
        get->add_option("--index", options.index, "Which of the items of that name, counted from 1 (not with --all)");
    index->type_name("N")->check(RefuseUncounted, "", "");
    AddOccurrence(get);
    get->add_flag("--all", options.all, "Print every item of that name, one a line")->excludes(index);

    CLI::App* list = Add("list", "Print the paths of the elements below a path", ListHelp, List);
    AddText(list, "PATH", options.path, "Where to begin; without it at the root");
    AddOccurrence(list);
    list->add_option("--depth", options.depth, "How many levels down; without it all")
        ->type_name("N")
        ->check(RefuseUncounted, "", "");
    list->add_flag("--ids", options.withIds, "The library's group ID beside each, behind a tab");
    list->add_flag("--values", options.withValues, "The text of each element without elements, behind a tab");

    Add("check", "Tell whether the file is well-formed, and where not", CheckHelp, Check);
  }

  void AddSetting() {
    CLI::App* set = Add("set", "Set items and save the file", SetHelp, Set);
    AddText(set, "PATH", options.path, "The element that the items are in")->required();
    AddItems(set, "ITEM VALUE", "The name of an element in it, or of an attribute, and the new text")->required();
    set->add_flag("--attribute", options.itemIsAttribute, "ITEM is an attribute of the element at PATH");
    set->add_flag("--existing", options.existing, "Make no element and no attribute that is missing");
    set->add_flag("--stdin", options.valueFromInput, "The last VALUE comes from standard input");
    set->add_flag("-n,--dry-run", options.dryRun, "Print the lines that would change, and write nothing");
  }

  void AddQueries() {
    Add("status", "Tell whether a repository is enabled, and which catalog", StatusHelp, Status);

    CLI::App* detect = Add("detect", "Print a catalog's detection entries with their packages", DetectHelp, Detect);
    CLI::Option* product = AddText(detect, "PRODUCT", options.product, "The ProductID");
    CLI::Option* branch = AddText(detect, "BRANCH", options.branch, "The Branch");
    CLI::Option* type = AddText(detect, "TYPE", options.packageType, "The PackageType");
    product->needs(type);
    branch->needs(type);

    Add("files", "Print the files of a catalog's first language package", FilesHelp, Files);

    CLI::App* match = Add("match", "Tell whether the file has this name, letter case apart", MatchHelp, Match);
    AddText(match, "NAME", options.name, "The name to compare with the last part of FILE")->required();
  }

  std::string helpTopic;
  CLI::App app{"Reads and sets items of XML files by path, and queries catalogs."};
  Options options;
  Command command = nullptr;
};

} // namespace

ExitStatus RunCommandLine(int argumentCount, char** arguments) { return CommandLine().Run(argumentCount, arguments); }
