// Plays the sessions in the folder beside this file. README.md describes them.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>

#include "registry/record.h"
#include "sessions/script.h"
#include "support/locale_guard.h"
#include "support/log_lines.h"
#include "support/open_document.h"
#include "support/text.h"

namespace {

constexpr std::uint32_t noCookie = 12345; // must stay if an opening fails

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
    text.replace(at, from.size(), to);
}

class Session : public testing::Test {
 public:
  Session(const Script& ofFile, const Words& ofVariant) : script(ofFile), variant(ofVariant) {
    InitXMLList(&list);
  }
  ~Session() override {
    EndXMLList(&list);
    corekit::SetUtf8(false);
  }

  void TestBody() override {
    const std::vector<ScriptLine> lines = script.Variant(variant);
    for (Place line = lines.begin(); line != lines.end() && !IsSkipped();) {
      const testing::ScopedTrace trace(script.file.c_str(), line->number, line->text);
      try {
        line = PlayNext(line, lines.end());
      } catch (const std::exception& failure) {
        FAIL() << failure.what();
      }
    }
  }

 private:
  using Place = std::vector<ScriptLine>::const_iterator;
  using Action = std::function<void(const std::string& text)>;
  using Call = std::function<std::string(const Words& words)>;
  using Expectation = std::function<std::string(std::string& wanted)>;

  // Plays a directive with the lines that belong to it; or calls and what is expected of each of
  // them. Returns the line after that.
  Place PlayNext(Place line, Place end) {
    const auto first = std::find_if(line + 1, end, std::mem_fn(&ScriptLine::isIndented));
    const auto next = std::find_if_not(first, end, std::mem_fn(&ScriptLine::isIndented));
    auto [word, text] = SplitOne(line->text);
    if (const auto directive = directives.find(word); directive != directives.end()) {
      for (++line; line != end && line->isIndented; ++line)
        text += (text.empty() ? "" : "\n") + line->text;
      directive->second(text);
      return line;
    }
    if (first == next) throw std::runtime_error("nothing is expected");
    for (; line != first; ++line) {
      const auto [times, call] = SplitOne(line->text);
      if (times == "twice") Play(call, {first, next});
      Play(times == "twice" ? call : line->text, {first, next});
    }
    return next;
  }

  // Plays a call, with a log sink only if its lines are asked for, since without one the library
  // takes shorter ways.
  void Play(const std::string& step, const std::vector<ScriptLine>& expected) {
    static const std::regex logged("(log|last|times|traces|reason) .*");
    std::optional<LogLines> sink;
    for (const ScriptLine& line : expected) {
      if (!sink && std::regex_match(line.text, logged)) sink.emplace();
    }
    const Words words(step);
    before = FileText();
    answer = Shown(calls.at(words.Text(0))(words));
    if (!words.AreAllUsed()) throw std::runtime_error("words that mean nothing");
    if (sink) log = sink->Take();
    if (sink) traces = sink->TakeTraces();
    for (std::string& line : log) line = Shown(line);
    sink.reset();
    for (const ScriptLine& line : expected) {
      const testing::ScopedTrace trace(script.file.c_str(), line.number, step);
      const auto [word, rest] = SplitOne(line.text);
      std::string wanted = Unescape(rest);
      const std::string came = expectations.at(word)(wanted);
      EXPECT_EQ(came, wanted);
    }
  }

  // Without what is random: "@" stands for the folder, "#" for a cookie.
  std::string Shown(std::string text) const {
    ReplaceAll(text, folder.Name(""), "@");
    for (const auto& [name, cookie] : cookies) ReplaceAll(text, std::to_string(cookie), "#");
    ReplaceAll(text, std::strerror(EILSEQ), "EILSEQ");
    return text + (text.ends_with(' ') ? "\"\"" : "");
  }
  // A log line, or several with " | " between them, in full.
  std::string InFull(std::string text) const {
    ReplaceAll(text, " | ", "\n");
    std::string lines;
    for (const std::string_view part : Split(text, '\n')) {
      const auto [word, rest] = SplitOne(std::string(part));
      const auto found = script.shorts.find(word);
      std::string line = found == script.shorts.end() ? std::string(part) : found->second;
      if (found != script.shorts.end()) ReplaceAll(line, "*", rest);
      lines += line + "\n";
    }
    return lines;
  }
  std::string LastLines(std::ptrdiff_t count) const {
    std::string lines;
    for (auto it = log.end() - std::min(count, std::ssize(log)); it != log.end(); ++it)
      lines += *it + "\n";
    return lines;
  }
  std::string FileText() const {
    return std::filesystem::is_regular_file(folder.Name(current)) ? folder.Read(current) : "none";
  }
  XmlFileRecord& Record() const {
    const auto found = std::ranges::find(list->files, cookies.at(current), &XmlFileRecord::cookie);
    if (found == list->files.end()) throw std::runtime_error(current + " is not open");
    return *found;
  }

  XmlFileList* List(const Words& w) const { return w.Unless("list", list); }
  std::uint32_t Cookie(const Words& w) const {
    const auto known = cookies.find(w.Option("cookie", current.c_str()));
    return known != cookies.end() ? known->second : w.Number("cookie", noCookie);
  }
  static std::uint32_t Capacity(const Words& w) { return w.Number("capacity", 260U); }

  std::string Open(const Words& w) {
    std::uint32_t cookie = noCookie;
    const char* const name = w.Text(1);
    const std::string file = folder.Name(name == nullptr ? "" : name);
    const std::uint32_t code = OpenXML(List(w), name == nullptr ? nullptr : file.c_str(),
                                       w.Number("encoding", XmlOpenAtOnce),
                                       w.Number("encrypted", 0), w.Unless("cookie", &cookie));
    if (code == XmlSuccess) cookies[current = name] = cookie;
    return std::to_string(code) + (code != XmlSuccess && cookie != noCookie ? " cookie" : "");
  }
  std::string Group(const Words& w) {
    return Answer(w.Option("parent", ""), [&](char* buffer) {
      char* const id = w.Unless("buffer", buffer);
      if (!w.Has("occurrence")) return OpenXMLGroup(List(w), Cookie(w), w.Text(1), id, Capacity(w));
      return EnumXMLGroup(List(w), Cookie(w), w.Text(1), w.Number("occurrence", 0U), id,
                          Capacity(w));
    });
  }
  std::string Item(const Words& w) {
    const char* const attribute = w.Option("attribute", nullptr);
    const char* const type = w.Option("type", attribute == nullptr ? "ELEMENT" : "ATTRIBUTE");
    const char* const valueType = w.Option("value", "ATTRIBUTE");
    return Answer("#", [&](char* buffer) {
      char* const value = w.Unless("buffer", buffer);
      if (!w.Has("index"))
        return GetXMLItem(List(w), Cookie(w), w.Text(1), w.Text(2), type, attribute, valueType,
                          value, Capacity(w));
      return EnumXMLItem(List(w), Cookie(w), w.Text(1), w.Text(2), type, w.Number("index", 0),
                         attribute, valueType, value, Capacity(w));
    });
  }

  const std::map<std::string, Action> directives = {
      // For Linux and for Windows; "-" skips the rest of the session.
      {"locale",
       [this](const std::string& text) {
         const Words words(text);
         const char* const name = words.Text(hasUtf8 ? 0 : 1);
         if (name == nullptr) GTEST_SKIP() << "The system has no such locale.";
         locale.reset();
         locale.emplace(name);
         corekit::SetUtf8(words.Count() > 2);
       }},
      {"document",
       [this](const std::string& text) {
         EndXMLList(&list);
         InitXMLList(&list);
         folder.Write("doc", Unescape(text));
         ASSERT_EQ(Open(Words("open doc")), "0");
       }},
      {"file",
       [this](const std::string& text) {
         folder.Write(Unescape(SplitOne(text).first), Unescape(SplitOne(text).second));
       }},
      {"change", [this](const std::string& text) { folder.Write(current, Unescape(text)); }}};

  const std::map<std::string, Call> calls = {
      {"open", [this](const Words& w) { return Open(w); }},
      {"group", [this](const Words& w) { return Group(w); }},
      {"item", [this](const Words& w) { return Item(w); }},
      {"set", [this](const Words& w) {
         return std::to_string(
             SetXMLItem(List(w), Cookie(w), w.Text(1), w.Text(2), w.Text(3), w.Text(4)));
       }}};

  const std::map<std::string, Expectation> expectations = {
      {"=>", [this](std::string&) { return answer; }},
      {"log",
       [this](std::string& wanted) {
         wanted = InFull(wanted);
         return LastLines(std::ssize(log));
       }},
      {"last",
       [this](std::string& wanted) {
         wanted = InFull(wanted);
         return LastLines(std::ranges::count(wanted, '\n'));
       }},
      {"times", // a line or a trace
       [this](std::string& wanted) {
         const auto [count, text] = SplitOne(wanted);
         wanted = count + " " + InFull(text);
         const std::string line = wanted.substr(count.size() + 1, wanted.size() - count.size() - 2);
         return std::to_string(std::ranges::count(log, line) + std::ranges::count(traces, line)) +
                " " + line + "\n";
       }},
      {"traces",
       [this](std::string&) {
         std::string all;
         for (const std::string& trace : traces) all += (all.empty() ? "" : " ") + trace;
         return all;
       }},
      {"reason", [this](std::string&) { return Reason(log); }},
      {"file", [this](std::string&) { return FileText(); }},
      // Since what another program wrote is merged with, the document itself is looked at, too.
      {"saved",
       [this](std::string&) {
         const std::string memory = Record().document->GenerateXML(false);
         return FileText() + (FileText() == memory ? "" : " but in memory " + memory);
       }},
      {"unchanged",
       [this](std::string& wanted) {
         wanted = "0 " + before;
         const auto code = SetXMLItem(list, cookies.at(current), "", "", "", "");
         return std::to_string(code) + " " + FileText();
       }},
      // The element known by a key: its attribute "id" or, without one, its text.
      {"key", [this](std::string& wanted) {
         const Words words(wanted);
         wanted = words.Text(1);
         const Ostrum::Element found = Record().elementMap->Find(words.Text(0));
         if (found.IsNull()) return std::string("none");
         const Ostrum::Value id = found.GetAttribute("id");
         return id.IsNull() ? found.Text().GetValue() : id.GetValue();
       }}};

  const Script& script;
  const Words& variant;
  std::optional<LocaleGuard> locale;
  TempFolder folder;
  XmlFileList* list = nullptr;
  std::string current;                          // the name of the file opened last
  std::map<std::string, std::uint32_t> cookies; // by file name

  // Of the call played last: what it answered and logged, and the file's text before it.
  std::string answer, before;
  std::vector<std::string> log, traces;
};

void Register(const Script& script, const Words& variant) {
  const std::string suite = std::filesystem::path(script.file).stem().string();
  std::string name = script.name;
  if (const char* const ending = variant.Option("name", nullptr)) name += std::string("/") + ending;
  testing::RegisterTest(suite.c_str(), name.c_str(), nullptr, nullptr, script.file.c_str(),
                        script.lines.at(0).number,
                        [&]() -> Session* { return new Session(script, variant); });
}

const bool areRegistered = [] {
  static std::vector<Script> scripts;
  for (const auto& file : std::filesystem::directory_iterator(SESSIONS))
    std::ranges::move(ReadScripts(file), std::back_inserter(scripts));
  if (scripts.empty()) throw std::runtime_error("There are no sessions in " SESSIONS);
  for (const Script& script : scripts) {
    for (const Words& variant : script.variants) Register(script, variant);
  }
  return true;
}();

} // namespace
