#ifndef TARVIK_BENCH_WORK_FOLDER_H
#define TARVIK_BENCH_WORK_FOLDER_H

#include <filesystem>
#include <string>
#include <string_view>

// A folder for the files of one run, gone with them when the run ends.
class WorkFolder {
 public:
  explicit WorkFolder(const std::filesystem::path& base);
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  // Writes the file and returns its full name.
  std::string Write(std::string_view file, std::string_view bytes) const;
  std::string Name(std::string_view file) const { return (path / file).string(); }

 private:
  std::filesystem::path path;
};

#endif
