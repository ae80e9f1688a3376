// Plays the sessions in the folder beside this file. README.md describes them.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
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

// The last lines, which have their endings.
std::string Last(std::ptrdiff_t count, const std::vector<std::string>& lines) {
  std::string all;
  for (auto it = lines.end() - std::min(count, std::ssize(lines)); it != lines.end(); ++it)
    all += *it;
  return all;
}

// The code, and the fields that are not empty.
std::string AnswerOf(std::uint32_t code, const DetectionInfo& info) {
  std::string answer = std::to_string(code);
  for (const std::string* field :
       {&info.ProductVersion, &info.ProductID, &info.LangID, &info.PlatformID,
        &info.MinimumDATVersion, &info.Branch, &info.PackageType, &info.EngineFile, &info.Version})
    answer += (field->empty() ? "" : " ") + *field;
  return answer;
}

class Session : public testing::Test {
 public:
  explicit Session(const Script& ofFile) : script(ofFile) {
    std::filesystem::current_path(folder.Path());
    InitXMLList(&list);
  }
  ~Session() override {
    EndXMLList(&list);
    corekit::SetUtf8(false);
    std::filesystem::current_path(folder.Path().parent_path());
  }

  void TestBody() override {
    for (auto line = script.lines.begin(); line != script.lines.end() && !IsSkipped();) {
      const testing::ScopedTrace trace(script.file.c_str(), line->number, line->text);
      try {
        line = PlayNext(line);
      } catch (const std::exception& failure) {
        FAIL() << failure.what();
      }
    }
  }

 private:
  using Place = std::vector<ScriptLine>::const_iterator;

  // Prepares something; or makes calls, each of which must meet what is then expected. Returns the
  // line after that.
  Place PlayNext(Place line) {
    const auto isIndented = std::mem_fn(&ScriptLine::isIndented);
    const Place first = std::find_if(line + 1, script.lines.end(), isIndented);
    const Place next = std::find_if_not(first, script.lines.end(), isIndented);
    const auto [word, text] = SplitOne(line->text);
    if (Prepare(word, text)) return line + 1;
    if (first == next) throw std::runtime_error("nothing is expected");
    for (; line != first; ++line) {
      const bool isTwice = SplitOne(line->text).first == "twice";
      const std::string call = isTwice ? SplitOne(line->text).second : line->text;
      for (int time = 0; time <= static_cast<int>(isTwice); ++time) Play(call, {first, next});
    }
    return next;
  }

  // Makes a call, with a log sink only if its lines matter, since without one the library takes
  // shorter ways.
  void Play(const std::string& call, const std::vector<ScriptLine>& expected) {
    static const std::regex logged("(log|last|times|traces) .*");
    std::optional<LogLines> sink;
    const auto isLogged = [](const ScriptLine& e) { return std::regex_match(e.text, logged); };
    if (isSwitching || std::ranges::any_of(expected, isLogged)) sink.emplace();
    if (isSwitching) sink->atEachLine = [this] { corekit::SetUtf8(!isUtf8); };
    const Words words(call);
    before = FileText();
    const auto begin = std::chrono::steady_clock::now();
    answer = Shown(Call(words.Text(0), words));
    seconds = (std::chrono::steady_clock::now() - begin) / std::chrono::seconds(1);
    if (!words.AreAllUsed()) throw std::runtime_error("a word means nothing here");
    if (sink) log = sink->Take();
    if (sink) traces = sink->TakeTraces();
    for (std::string& line : log) line = Shown(line) + "\n";
    for (std::string& trace : traces) trace += "\n";
    sink.reset();
    corekit::SetUtf8(isUtf8);
    for (const ScriptLine& each : expected) {
      const testing::ScopedTrace trace(script.file.c_str(), each.number, call);
      const auto [word, rest] = SplitOne(each.text);
      std::string wanted = Unescape(rest);
      const std::string came = Came(word, wanted);
      EXPECT_EQ(came, wanted);
    }
  }

  // With "#" for a cookie.
  std::string Shown(std::string text) const {
    for (const auto& [name, number] : cookies) ReplaceAll(text, std::to_string(number), "#");
    ReplaceAll(text, std::strerror(EILSEQ), "EILSEQ");
    return text + (text.ends_with(' ') ? "\"\"" : "");
  }

  bool Prepare(const std::string& what, const std::string& text) {
    const auto [name, content] = SplitOne(Unescape(text));
    if (what == "file") {
      Write(name, content);
    } else if (what == "remove") {
      std::filesystem::remove(std::filesystem::u8path(name));
    } else if (what == "document") {
      EndXMLList(&list);
      InitXMLList(&list);
      Write("doc", Unescape(text));
      if (Call("open", Words("open doc")) != "0") throw std::runtime_error("it does not open");
    } else if (what == "cookie") { // as if both had drawn the same
      FindXmlFile(list, cookies.at(name))->cookie = cookies.at(content);
    } else if (what == "locale") {
      UseLocale(Words(text));
    } else if (what == "switching") {
      isSwitching = true;
    } else {
      return false;
    }
    return true;
  }
  void UseLocale(const Words& words) {
    const char* const name = words.Text(hasUtf8 ? 0 : 1);
    if (name == nullptr) GTEST_SKIP() << "The system has no such locale.";
    locale.emplace(name);
    isUtf8 = words.Count() > 2;
    corekit::SetUtf8(isUtf8);
  }

  // Gives the code and what is stored.
  std::string Call(const std::string& name, const Words& w) {
    asked = w.Unless("list", list);
    const auto known =
        w.IsNull("cookie") ? cookies.end() : cookies.find(w.Option("cookie", current.c_str()));
    cookie = known != cookies.end() ? known->second : w.Number("cookie", noCookie);
    capacity = w.Number("capacity", 260U);
    if (name == "init") return std::to_string(InitXMLList(w.Unless("list", &list)));
    if (name == "end") return std::to_string(EndXMLList(w.Unless("list", &list)));
    if (name == "open") return Open(w);
    if (name == "close") return std::to_string(CloseXML(asked, cookie));
    if (name == "group") return Group(w);
    if (name == "item") return Item(w);
    if (name == "set")
      return std::to_string(SetXMLItem(asked, cookie, w.Text(1), w.Text(2), w.Text(3), w.Text(4)));
    if (name == "walk") return Walk(w.Number("position", 1U));
    if (name == "detection") return Detection(w);
    if (name == "files") return Files();
    if (name == "status") return Status(w);
    if (name == "match") return Match(w);
    throw std::runtime_error("there is no call " + name);
  }

  std::string Open(const Words& w) {
    const char* const name = w.Text(1);
    cookie = noCookie;
    const std::uint32_t code = OpenXML(asked, name, w.Number("encoding", XmlOpenAtOnce),
                                       w.Number("encrypted", 0), w.Unless("cookie", &cookie));
    if (code == XmlSuccess) cookies[current = name] = cookie;
    return std::to_string(code) + (code != XmlSuccess && cookie != noCookie ? " cookie" : "");
  }
  std::string Group(const Words& w) {
    return Answer(w.Option("parent", ""), [&](char* buffer) {
      char* const id = w.Unless("buffer", buffer);
      if (!w.Has("occurrence")) return OpenXMLGroup(asked, cookie, w.Text(1), id, capacity);
      return EnumXMLGroup(asked, cookie, w.Text(1), w.Number("occurrence", 0U), id, capacity);
    });
  }
  std::string Item(const Words& w) {
    const char* const attribute = w.Option("attribute", nullptr);
    const char* const type = w.Option("type", attribute == nullptr ? "ELEMENT" : "ATTRIBUTE");
    const char* const as = w.Option("as", "ATTRIBUTE");
    return Answer("#", [&](char* buffer) {
      char* const value = w.Unless("buffer", buffer);
      if (!w.Has("index"))
        return GetXMLItem(asked, cookie, w.Text(1), w.Text(2), type, attribute, as, value,
                          capacity);
      return EnumXMLItem(asked, cookie, w.Text(1), w.Text(2), type, w.Number("index", 0), attribute,
                         as, value, capacity);
    });
  }
  // All calls from a position on: each one's answer, and the new position.
  std::string Walk(std::uint32_t start) {
    DetectionPosition position = {start, start, start};
    DetectionInfo info;
    for (std::string answers;; answers += " | ") {
      info.ProductID = info.Version = "left over";
      const std::uint32_t code = EnumDetectionInfo(asked, &cookie, position, &info);
      answers += AnswerOf(code, info) + " >";
      for (const std::uint32_t number : position) answers += " " + std::to_string(number);
      if (code != 0 && info.Branch.empty()) return answers; // a missing Version also gives a code
    }
  }
  std::string Detection(const Words& w) {
    DetectionInfo info;
    info.EngineFile = "left over";
    const auto code = GetDetectionInfo(asked, &cookie, w.Text(1), w.Text(2), w.Text(3), &info);
    return AnswerOf(code, info);
  }
  std::string Files() {
    std::vector<FileListEntry> files{{"old", ""}};
    std::string answers = std::to_string(GetFileList(asked, &cookie, &files));
    for (const FileListEntry& file : files) answers += " " + file.Name + "=" + file.Hash;
    return answers;
  }
  // With every byte of the buffer, a zero as "_".
  std::string Status(const Words& w) {
    std::string buffer(16, '#');
    std::uint8_t enabled = 7;
    const auto code = IsRepositoryEnabled(
        asked, &cookie, &enabled, w.Unless("buffer", buffer.data()), w.Unless("buffer", &capacity));
    std::ranges::replace(buffer, '\0', '_');
    return std::to_string(code) + " " + std::to_string(enabled) + " " + buffer;
  }
  std::string Match(const Words& w) {
    std::uint32_t matches = 7;
    const auto code =
        MatchXmlListToFileName(asked, cookie, w.Text(1), w.Unless("matches", &matches));
    return std::to_string(code) + " " + std::to_string(matches);
  }

  // What came, to be compared with what was wanted, which it may complete.
  std::string Came(const std::string& what, std::string& wanted) {
    if (what == "=>") return answer;
    if (what == "seconds") return std::to_string(seconds);
    if (what == "file") return FileText();
    if (what == "saved") return FileText() + (FileText() == Memory() ? "" : " not " + Memory());
    if (what == "unchanged") return Unchanged(wanted);
    if (what == "key") return Key(wanted);
    if (what == "times") return Times(wanted);
    wanted = InFull(wanted);
    if (what == "log") return Last(std::ssize(log), log);
    if (what == "traces") return Last(std::ssize(traces), traces);
    if (what == "last") return Last(std::ranges::count(wanted, '\n'), log);
    throw std::runtime_error("there is no expectation " + what);
  }

  // The lines that a session writes with " | " between them.
  std::string InFull(std::string lines) const {
    ReplaceAll(lines, " | ", "\n");
    std::string all;
    for (const std::string_view line : Split(lines, '\n')) {
      const auto [word, rest] = SplitOne(std::string(line));
      const auto form = script.shorts.find(word);
      std::string full = form == script.shorts.end() ? std::string(line) : form->second;
      if (form != script.shorts.end()) ReplaceAll(full, "*", rest);
      all += full + "\n";
    }
    return all;
  }
  std::string Times(std::string& wanted) const { // of a line or a trace
    const auto [times, text] = SplitOne(wanted);
    wanted = times;
    const std::string line = InFull(text);
    return std::to_string(std::ranges::count(log, line) + std::ranges::count(traces, line));
  }
  static void Write(const std::string& name, const std::string& bytes) {
    const auto path = std::filesystem::u8path("./" + name);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
  }
  std::string FileText() const {
    const auto path = std::filesystem::u8path(current);
    if (!std::filesystem::is_regular_file(path)) return "none";
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  // The document's own text, since what another program wrote to its file is merged with.
  std::string Memory() const { return Record().document->GenerateXML(false); }
  std::string Unchanged(std::string& wanted) const {
    wanted = "0 " + before;
    const std::uint32_t code = SetXMLItem(list, cookies.at(current), "", "", "", "");
    return std::to_string(code) + " " + FileText();
  }
  // The element known by a key: its attribute "id" or, without one, its text.
  std::string Key(std::string& wanted) const {
    const Words words(wanted);
    wanted = words.Text(1);
    const Ostrum::Element found = Record().elementMap->Find(words.Text(0));
    if (found.IsNull()) return "none";
    const Ostrum::Value id = found.GetAttribute("id");
    return id.IsNull() ? found.Text().GetValue() : id.GetValue();
  }
  XmlFileRecord& Record() const { return *FindXmlFile(list, cookies.at(current)); }

  const Script& script;
  std::optional<LocaleGuard> locale;
  bool isUtf8 = false, isSwitching = false;
  TempFolder folder;
  XmlFileList* list = nullptr;
  std::string current;                          // the name of the file opened last
  std::map<std::string, std::uint32_t> cookies; // by file name

  // Of the next call.
  XmlFileList* asked = nullptr;
  std::uint32_t cookie = 0, capacity = 0;
  // Of the last call: what it answered and logged, how long it took, and the file's text before.
  std::string answer, before;
  std::vector<std::string> log, traces;
  std::int64_t seconds = 0;
};

const bool areRegistered = [] {
  static std::vector<Script> scripts;
  for (const auto& file : std::filesystem::directory_iterator(SESSIONS))
    std::ranges::move(ReadScripts(file), std::back_inserter(scripts));
  if (scripts.empty()) throw std::runtime_error("no sessions in " SESSIONS);
  for (const Script& script : scripts) {
    const std::string suite = std::filesystem::path(script.file).stem().string();
    testing::RegisterTest(suite.c_str(), script.name.c_str(), nullptr, nullptr, script.file.c_str(),
                          script.lines.at(0).number,
                          [&]() -> Session* { return new Session(script); });
  }
  return true;
}();

} // namespace
