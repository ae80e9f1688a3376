// Reading files, pipes and standard input, and printing. Only data goes to standard output,
// everything else to standard error. Text is UTF-8, and printed in the user's character set; files
// are named in user text, as system.h defines it.
#ifndef TARVIK_TOOLS_INPUT_OUTPUT_H
#define TARVIK_TOOLS_INPUT_OUTPUT_H

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands.h"
#include "host/ostrumxml/document.h"
#include "host/ostrumxml/file.h"
#include "host/ostrumxml/save/generator.h"

// Whether the bytes are those of an encrypted file, by their beginning.
bool IsEncrypted(const std::string& bytes);

// Whether the file, named in user text, is standard input, a pipe or a character device: it can be
// read once, and not replaced.
bool IsStream(const std::string& file);

// All bytes of a file of any kind, as they are. Throws std::runtime_error.
std::string ReadBytes(const std::string& file);

// Decrypts and decodes bytes as they are in FILE. Throws std::runtime_error, also for bytes that
// are encrypted without a word of it in the options.
Ostrum::FileText Decode(std::string bytes, const Options& options);

// Throws Ostrum::ReadFailure with ReadBadEncoding, as for bytes that are not text, and the place.
std::unique_ptr<Ostrum::Document> Parse(std::string utf8);

// The document in a file of any kind. Throws as the above do.
std::unique_ptr<Ostrum::Document> ReadDocument(const std::string& file, const Options& options);

// Paths or other names, and their values, in order.
using Members = std::vector<std::pair<std::string, std::string>>;

// The members of the object in the JSON file of --from, or in standard input if it is "-": strings,
// numbers, true and false, in the form in which they are written. Throws UsageError with the reason
// for anything else, also for a name that comes twice.
Members ReadMembers(const std::string& file);

// User text, as system.h defines it, from and to UTF-8. If the text is not valid in its character
// set, throws UsageError about what has the name; if it cannot be represented, gives nothing.
std::string RequireUtf8(const std::string& userText, const std::string& name);
std::optional<std::string> FromUtf8(std::string_view utf8);
bool UserTextIsUtf8();

// Prints data and an end, by default a line ending. On a terminal, control characters are escaped.
// Throws std::runtime_error for text that the user's character set lacks.
void Print(std::string_view utf8, std::string_view end = "\n");

// Prints the bytes of a file as they are.
void PrintBytes(std::string_view bytes);

using Json = nlohmann::ordered_json;
void PrintJson(const Json& json);
// Prints an object. Of several members with one name, the last value counts.
void PrintJson(const Members& members);

// The unified diff that turns a file's text, which is empty for a new file, into the text with the
// edits, as the program `patch` reads it. Empty if they change nothing. edits: sorted, and none
// within another.
std::string UnifiedDiff(const std::string& fileName, std::string_view text,
                        const std::vector<Ostrum::Edit>& edits);

// A field for a line of tab-separated ones: tabs and line endings in it become blanks.
std::string Field(std::string text);

// The first of the items, at most so many, separated by commas, and the number of the others.
inline constexpr std::size_t maxListed = 10;
std::string Listed(const std::vector<std::string>& items);

// An argument as UTF-8. If it is not valid text, "?" stands for each byte beyond ASCII.
std::string Shown(std::string userText);

// Prints a line on standard error, with the command's name in front, about a file, which may be
// standard input, or about none if its name is empty. The text may begin with a place such as
// ":2:6".
void PrintMessage(const std::string& file, const std::string& text);
void PrintMessage(const std::string& file, const std::exception& why);

// Prints the library's log lines on standard error from now on; at level 2 also its traces.
void ShowLog(int level);

// False if anything could not be written.
bool FlushOutput();

#endif
