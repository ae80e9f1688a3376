// A temporary folder for a test, removed with all its files when the test ends.
#ifndef TARVIK_TESTS_SUPPORT_TEMP_FOLDER_H
#define TARVIK_TESTS_SUPPORT_TEMP_FOLDER_H

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

class TempFolder {
 public:
  TempFolder()
      : path(std::filesystem::temp_directory_path() /
             ("tarvik-test-" + std::to_string(std::random_device{}()))) {
    if (!std::filesystem::create_directory(path))
      throw std::runtime_error("no folder " + path.string());
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TempFolder(TempFolder&&) = delete;

  const std::filesystem::path& Path() const { return path; }
  // The full name of a file in the folder, whether it exists or not.
  std::string Name(std::string_view file) const { return (path / file).string(); }

  std::ptrdiff_t FileCount() const {
    return std::distance(std::filesystem::directory_iterator(path), {});
  }

  // Writes the bytes unchanged, replacing an old file of that name, and returns the full name.
  std::string Write(std::string_view file, std::string_view bytes) const {
    std::ofstream stream(Name(file), std::ios::binary);
    if (!(stream << bytes << std::flush)) throw std::runtime_error("can't write " + Name(file));
    return Name(file);
  }
  std::string Read(std::string_view file) const {
    std::ifstream stream(Name(file), std::ios::binary);
    if (!stream) throw std::runtime_error("can't read " + Name(file));
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::filesystem::path path;
};

#endif
