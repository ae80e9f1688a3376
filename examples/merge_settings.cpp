// Takes named settings over from several files into one; where several have a setting, the last
// counts. The log says why a file was not opened or saved.
//   merge_settings configuration.xml berth.xml...
#include <corekit/corekit.h>
#include <tarvik/tarvik.hpp>

#include <clocale>
#include <cstdio>

constexpr const char* settings[][2] = {
    {"Network", "Timeout"}, {"Network\\Proxy", "Host"}, {"Network\\Proxy", "Port"}};

void COREKIT_CALL PrintError(void*, corekit::LogKind kind, const wchar_t*, const wchar_t* line) {
  if (kind == corekit::LogKind::Error) std::fprintf(stderr, "log: %ls\n", line);
}

int main(int count, char** files) try {
  std::setlocale(LC_ALL, "");
  corekit::SetLogSink(&PrintError, nullptr);
  if (count < 3) throw tarvik::Error(XmlInvalidArgument, files[0], "needs two files or more");
  tarvik::Document target(files[1], "Configuration");
  for (int i = 2; i < count; ++i) {
    const tarvik::Document source(files[i], "Configuration");
    for (const auto& [group, item] : settings) {
      const auto from = source.OpenGroup(group), to = target.OpenGroup(group);
      if (!from) continue;
      const auto value = from->Get(item);
      if (!value || (to && to->Get(item) == value)) continue;
      target.Set(group, item, *value); // saves the file
      std::printf("%s\\%s = %s (%s)\n", group, item, value->c_str(), files[i]);
    }
  }
} catch (const tarvik::Error& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 2;
}
