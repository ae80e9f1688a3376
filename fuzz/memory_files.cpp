#include <map>

#include "harness.h"
#include "platform/files.h"
#include "platform/platform.h"

std::string& MemoryFile(const std::string& name) {
  static std::map<std::string, std::string> files;
  return files[name];
}

namespace platform {
namespace {

FileState StateOf(const FileName& name) {
  FileState state;
  state.identity.number = std::hash<std::string>()(MemoryFile(name.string()));
  state.isSettled = true;
  return state;
}

} // namespace

FileName AbsoluteFileName(const char* bytes, const wchar_t*) { return bytes; }

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes, FileState& state) {
  bytes = MemoryFile(name.string());
  state = StateOf(name);
  return bytes.size() > limit ? ReadStatus::TooLong : ReadStatus::Done;
}

struct LockedFile::System {
  FileName name;
  std::optional<FileState> state = StateOf(name);
};

LockedFile::LockedFile(const FileName& name) : system(new System{name}) {}
LockedFile::~LockedFile() = default;
const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }
void LockedFile::FlushFolder() const {}

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  FileState state;
  return ReadWholeFile(system->name, limit, bytes, state);
}

bool LockedFile::Replace(std::string_view bytes, std::uint32_t) {
  MemoryFile(system->name.string()) = bytes;
  system->state = StateOf(system->name);
  return true;
}

void Sleep(std::uint32_t) noexcept {}

} // namespace platform
