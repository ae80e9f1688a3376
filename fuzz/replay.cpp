// Runs a fuzz target over the files and folders named, so that each is built and run where there is no fuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int replayed = 0;

void Replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  ++replayed;
}

} // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) {
    if (!std::filesystem::is_directory(arguments[i])) {
      Replay(arguments[i]);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) Replay(entry.path());
  }
  std::printf("%d inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}
