#include "command_line.h"

#include <tarvik/tarvik.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>

#include "commands.h"
#include "output.h"

namespace {

constexpr const char* GeneralHelp = R"(Examples:
  tarvik list catalog.xml                    every group, with its ID
  tarvik get catalog.xml ProductPackage ProductID
  tarvik set config.xml Network Timeout 30
  tarvik detect catalog.xml                  the whole catalog, a line each
  tarvik detect --json catalog.xml | jq -r '.[].Version'
  tarvik COMMAND --help                      more on a command

A PATH is element names with "\" between them; a shell needs quotes around it:
'ProductPackage\LangPackage'. A name stands for every name that begins with it,
and the first that matches is taken. 'Setting&Name=EngineFile' is the Setting
whose attribute Name begins with EngineFile.

Exit status: 0 found or done, 1 nothing found, 2 an error.)";

constexpr const char* GetHelp = R"(Examples:
  tarvik get catalog.xml ProductPackage ProductID
      the text of ProductID in the first ProductPackage
  tarvik get catalog.xml 'ProductPackage2\LangPackage3' LangID
      by a group ID, as list prints it: the third LangPackage of the second
      ProductPackage
  tarvik get catalog.xml 'ProductPackage2\LangPackage3\LangID'
      the same; without ITEM, the last name of PATH is the item
  tarvik get catalog.xml 'ProductPackage\LangPackage\ExtraSettings' \
      'Setting&Name=EngineFile'
      the Setting whose attribute Name begins with EngineFile
  tarvik get catalog.xml ProductPackage ProductDetection --attribute Branch --all
      the attribute of every ProductDetection, a line each
  tarvik get site-status.xml SiteStatus --attribute Status
      an attribute of the element at PATH itself
  tarvik get config.xml Configuration Name
      an item right below the root: PATH is the root's name)";

constexpr const char* ListHelp = R"(Examples:
  tarvik list catalog.xml                    the tree of groups under the root
  tarvik list catalog.xml --depth 1          the root's children alone
  tarvik list catalog.xml ProductPackage2    what is in the second ProductPackage

Every ID printed serves as PATH of get and list.)";

constexpr const char* SetHelp = R"(Examples:
  tarvik set config.xml Network Timeout 30
      the text of Timeout in Network
  tarvik set config.xml Network Mode fast --attribute
      the attribute Mode of Network
  tarvik set config.xml 'Network\Proxy' Port 8080
      elements that are missing are made
  tarvik set config.xml Network Offset -- -5
      a value that begins with "-"

The first element that matches each name of PATH is used, and a name stands for
every name that begins with it: Time sets Timeout. The file is saved at once, and
every byte of it that was not set stays as it was.)";

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
  return isCounted ? "" : text + " is no number counted from 1";
}

using Command = ExitStatus (*)(const Options& options);

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
  }

  ExitStatus Run(int argumentCount, char** arguments) {
    try {
      app.parse(argumentCount, arguments);
    } catch (const CLI::CallForHelp&) {
      const std::string help = app.help();
      PrintValue(help.substr(0, help.find_last_not_of('\n') + 1));
      return ExitStatus::Found;
    } catch (const CLI::CallForVersion&) {
      PrintValue(Version());
      return ExitStatus::Found;
    } catch (const CLI::ParseError& error) {
      throw CommandError(Complaint(error) + " (tarvik --help tells more)");
    }
    return command(options);
  }

 private:
  std::string Complaint(const CLI::ParseError& error) const {
    if (!app.get_subcommands().empty()) return error.what();
    const auto unknown = app.remaining();
    return unknown.empty() ? "a command is required" : unknown.front() + ": there is no such command";
  }

  static std::string Version() {
    return "tarvik " + std::to_string(TARVIK_VERSION_MAJOR) + '.' + std::to_string(TARVIK_VERSION_MINOR) + '.' +
           std::to_string(TARVIK_VERSION_PATCH);
  }

  void AddCommonOptions(CLI::App& to) {
    CLI::Option* encrypted = to.add_flag("-e,--encrypted", options.encrypted, "The file is enciphered");
    to.add_option("--key-file", options.keyFile, "With -e: the key, 32 bytes; without it the built-in one")
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
    added->add_option("FILE", options.file, "The XML file")->required()->type_name("");
    AddCommonOptions(*added);
    return added;
  }

  CLI::Option* AddArgument(CLI::App* to, const char* name, std::string& value, const char* description) {
    return to->add_option(name, value, description)->type_name("");
  }

  void AddOccurrence(CLI::App* to) {
    to->add_option("--occurrence", options.occurrence, "Which match of the last name of PATH, counted from 1")
        ->type_name("N")
        ->check(RefuseUncounted, "", "");
  }

  void AddReading() {
    CLI::App* get = Add("get", "Print an item: the text of an element or an attribute", GetHelp, Get);
    AddArgument(get, "PATH", options.path, "The element that the item is in")->required();
    AddArgument(get, "ITEM", options.item, "The exact name of a child element, or the element's own");
    get->add_option("--attribute", options.attribute, "Print this attribute instead of the text")->type_name("NAME");
    CLI::Option* index =
        get->add_option("--index", options.index, "Which of the items, counted from 1 (not with --all)");
    index->type_name("N")->check(RefuseUncounted, "", "");
    AddOccurrence(get);
    get->add_flag("--all", options.all, "Print every such item, one a line")->excludes(index);

    CLI::App* list = Add("list", "Print the IDs of the groups under a path", ListHelp, List);
    AddArgument(list, "PATH", options.path, "Where to begin; without it at the root");
    AddOccurrence(list);
    list->add_option("--depth", options.depth, "How many levels down; without it all")
        ->type_name("N")
        ->check(RefuseUncounted, "", "");
  }

  void AddSetting() {
    CLI::App* set = Add("set", "Set an item and save the file", SetHelp, Set);
    AddArgument(set, "PATH", options.path, "The element that the item is in")->required();
    AddArgument(set, "ITEM", options.item, "The name of the child element or attribute")->required();
    AddArgument(set, "VALUE", options.value, "The new text")->required();
    set->add_flag("--attribute", options.itemIsAttribute, "ITEM is an attribute of the element at PATH");
  }

  void AddQueries() {
    Add("status", "Tell whether a repository is enabled, and which catalog", StatusHelp, Status);

    CLI::App* detect = Add("detect", "Print a catalog's detection entries with their packages", DetectHelp, Detect);
    CLI::Option* product = AddArgument(detect, "PRODUCT", options.product, "The ProductID");
    CLI::Option* branch = AddArgument(detect, "BRANCH", options.branch, "The Branch");
    CLI::Option* type = AddArgument(detect, "TYPE", options.packageType, "The PackageType");
    product->needs(type);
    branch->needs(type);

    Add("files", "Print the files of a catalog's first language package", FilesHelp, Files);

    CLI::App* match = Add("match", "Tell whether the file has this name, letter case apart", MatchHelp, Match);
    AddArgument(match, "NAME", options.name, "The name to compare with the last part of FILE")->required();
  }

  CLI::App app{"Reads and sets items of XML files by path, and queries catalogs."};
  Options options;
  Command command = nullptr;
};

} // namespace

ExitStatus RunCommandLine(int argumentCount, char** arguments) { return CommandLine().Run(argumentCount, arguments); }
