#include "command_line.h"

#include <tarvik/tarvik.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <limits>

#include "commands.h"

namespace {

constexpr const char* GeneralHelp = R"(Examples:
  tarvik list catalog.xml                        every group, with its ID
  tarvik get catalog.xml ProductPackage ProductID
  tarvik set config.xml Network Timeout 30
  tarvik detect catalog.xml                      the whole catalog, a line each
  tarvik detect --json catalog.xml | jq '.[].Version'
  tarvik COMMAND --help                          more on a command

A PATH is element names separated by "\" (quote it in a shell): 'ProductPackage\LangPackage'. A name stands for every name
that begins with it, the first match is taken, and 'Setting&Name=EngineFile' takes the Setting whose attribute begins so.

Exit status: 0 found or done, 1 nothing found, 2 an error, told on standard error in one line.)";

constexpr const char* GetHelp = R"(Examples:
  tarvik get catalog.xml ProductPackage ProductID
      the text of ProductID in the first ProductPackage
  tarvik get catalog.xml 'ProductPackage2\LangPackage3' LangID
      in a group as list prints its ID: the third LangPackage of the second ProductPackage
  tarvik get catalog.xml 'ProductPackage2\LangPackage3\LangID'
      the same; without ITEM, the last name of PATH is the item
  tarvik get catalog.xml 'ProductPackage\LangPackage\ExtraSettings' 'Setting&Name=EngineFile'
      the Setting whose attribute Name begins with EngineFile
  tarvik get catalog.xml ProductPackage ProductDetection --attribute Branch --all
      the attribute of every ProductDetection, one a line
  tarvik get site-status.xml SiteStatus --attribute Status
      an attribute of the element at PATH itself
  tarvik get config.xml Configuration Name
      an item right below the root: PATH is the root's name)";

constexpr const char* ListHelp = R"(Examples:
  tarvik list catalog.xml                        the tree of groups under the root
  tarvik list catalog.xml --depth 1              the root's children alone
  tarvik list catalog.xml ProductPackage2        what is in the second ProductPackage

Every ID that is printed can be given to get and list as PATH.)";

constexpr const char* SetHelp = R"(Examples:
  tarvik set config.xml Network Timeout 30       the text of an element
  tarvik set config.xml Network Mode fast --attribute
                                                 the attribute Mode of the element Network
  tarvik set config.xml 'Network\Proxy' Port 8080
                                                 elements that are missing are made
  tarvik set config.xml Network Offset -- -5     a value that begins with "-"

The first element that matches each name of PATH is used, and a name stands for every name that begins with it: Time sets
Timeout. The file is saved at once; every byte that was not set stays as it was.)";

constexpr const char* StatusHelp = R"(Prints "enabled" or "disabled" and, on a second line, the catalog version.

Example:
  tarvik status site-status.xml)";

constexpr const char* DetectHelp = R"(Examples:
  tarvik detect catalog.xml                      each detection entry with each language package of its branch
  tarvik detect catalog.xml scanner stable full  the one of a product, branch and package type

A line holds, separated by tabs: ProductID, Branch, PackageType, LangID, Version, ProductVersion, PlatformID,
MinimumDATVersion, EngineFile.)";

constexpr const char* FilesHelp = R"(Prints name and hash of each file, separated by a tab.

Example:
  tarvik files catalog.xml | cut -f1)";

constexpr const char* MatchHelp = R"(Prints "yes" or "no"; the exit status is 0 or 1.

Example:
  tarvik match repository/Catalog.xml catalog.xml)";

using Command = ExitStatus (*)(const Options& options);

class CommandLine {
 public:
  CommandLine() {
    app.name("tarvik");
    app.set_version_flag("--version", Version(), "Show the version and exit");
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(GeneralHelp);
    app.get_formatter()->column_width(24);
    AddCommonOptions();
    AddReading();
    AddSetting();
    AddQueries();
  }

  ExitStatus Run(int argumentCount, char** arguments) {
    try {
      app.parse(argumentCount, arguments);
    } catch (const CLI::Success& help) {
      app.exit(help);
      return ExitStatus::Found;
    } catch (const CLI::ParseError& error) {
      throw CommandError(std::string(error.what()) + " (tarvik --help tells more)");
    }
    return command(options);
  }

 private:
  static std::string Version() {
    return "tarvik " + std::to_string(TARVIK_VERSION_MAJOR) + '.' + std::to_string(TARVIK_VERSION_MINOR) + '.' +
           std::to_string(TARVIK_VERSION_PATCH);
  }

  void AddCommonOptions() {
    app.add_flag("-e,--encrypted", options.encrypted, "The file is enciphered");
    app.add_option("--key-file", options.keyFile, "The cipher's key, 32 bytes, instead of the built-in one")
        ->type_name("KEYFILE")
        ->needs("--encrypted");
    app.add_flag("-j,--json", options.json, "Print JSON");
    app.add_flag("-v", options.verbosity, "Show the library's log lines; -vv its traces too");
  }

  CLI::App* Add(const char* name, const char* description, const char* help, Command run) {
    CLI::App* added = app.add_subcommand(name, description);
    added->allow_windows_style_options(false); // a file name may begin with "/"
    added->footer(help);
    added->callback([this, run] { command = run; });
    added->add_option("FILE", options.file, "The XML file")->required()->type_name("");
    return added;
  }

  CLI::Option* AddArgument(CLI::App* to, const char* name, std::string& value, const char* description) {
    return to->add_option(name, value, description)->type_name("");
  }

  void AddOccurrence(CLI::App* to) {
    to->add_option("--occurrence", options.occurrence, "Which match of the last name of PATH, counted from 1")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
  }

  void AddReading() {
    CLI::App* get = Add("get", "Print an item: the text of an element or an attribute", GetHelp, Get);
    AddArgument(get, "PATH", options.path, "The element that the item is in")->required();
    AddArgument(get, "ITEM", options.item, "The exact name of a child element, or the element's own");
    get->add_option("--attribute", options.attribute, "Print this attribute instead of the text")->type_name("NAME");
    CLI::Option* index = get->add_option("--index", options.index, "Which of the items, counted from 1");
    index->type_name("N")->check(CLI::PositiveNumber);
    AddOccurrence(get);
    get->add_flag("--all", options.all, "Print every such item, one a line")->excludes(index);

    CLI::App* list = Add("list", "Print the IDs of the groups under a path", ListHelp, List);
    AddArgument(list, "PATH", options.path, "Where to begin; without it at the root");
    AddOccurrence(list);
    list->add_option("--depth", options.depth, "How many levels down; without it all")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
  }

  void AddSetting() {
    CLI::App* set = Add("set", "Set an item and save the file", SetHelp, Set);
    AddArgument(set, "PATH", options.path, "The element that the item is in")->required();
    AddArgument(set, "ITEM", options.item, "The name of the child element or attribute")->required();
    AddArgument(set, "VALUE", options.value, "The new text")->required();
    set->add_flag("--attribute", options.itemIsAttribute, "ITEM is an attribute of the element at PATH");
  }

  void AddQueries() {
    Add("status", "Tell whether a repository is enabled, and its catalog version", StatusHelp, Status);

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

  CLI::App app{"Reads and sets items of XML files by path, and asks catalogs and site-status files."};
  Options options;
  Command command = nullptr;
};

} // namespace

ExitStatus RunCommandLine(int argumentCount, char** arguments) {
  return CommandLine().Run(argumentCount, arguments);
}
