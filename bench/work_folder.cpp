#include "work_folder.h"

#include <fstream>
#include <random>
#include <stdexcept>

WorkFolder::WorkFolder(const std::filesystem::path& base)
    : path(base / ("tarvik-bench-" + std::to_string(std::random_device{}()))) {
  if (!std::filesystem::create_directory(path))
    throw std::runtime_error("no folder " + path.string());
}

WorkFolder::~WorkFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

std::string WorkFolder::Write(std::string_view file, std::string_view bytes) const {
  std::ofstream stream(path / file, std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) throw std::runtime_error("can't write " + Name(file));
  return Name(file);
}
