// Files in memory, which the library uses instead of the disk's.
#include "platform/files.h"

#include <map>

std::string& MemoryFile(const std::string& name) {
  static std::map<std::string, std::string> files;
  return files[name];
}

namespace platform {
namespace {

FileState StateOf(const FileName& name) {
  return {{.number = std::hash<std::string>()(MemoryFile(name.string()))}, nullptr, true};
}

} // namespace

FileName AbsoluteFileName(const char* bytes, const wchar_t*) { return bytes; }

ReadStatus ReadWholeFile(const FileName& name, std::size_t limit, std::string& bytes,
                         FileState& state) {
  bytes = MemoryFile(name.string());
  state = StateOf(name);
  return bytes.size() > limit ? ReadStatus::TooLong : ReadStatus::Done;
}

struct LockedFile::System {
  FileName name;
  std::optional<FileState> state = StateOf(name);
};

LockedFile::LockedFile(const FileName& name, Deadline) : system(new System{name}) {}
LockedFile::~LockedFile() = default;
const std::optional<FileState>& LockedFile::State() const noexcept { return system->state; }
void LockedFile::FlushFolder() const {}

ReadStatus LockedFile::Read(std::size_t limit, std::string& bytes) const {
  return ReadWholeFile(system->name, limit, bytes, *system->state);
}

bool LockedFile::Replace(const std::vector<std::string_view>& pieces, const Access*) {
  std::string& bytes = MemoryFile(system->name.string());
  bytes.clear();
  for (const std::string_view piece : pieces) bytes += piece;
  system->state = StateOf(system->name);
  return true;
}

} // namespace platform
