#include "alone.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "open_catalog.h"

Figures RunAlone(const std::string& work, const std::vector<std::string>& arguments) {
  std::string command =
      "'" + std::filesystem::read_symlink("/proc/self/exe").string() + "' --alone " + work;
  for (const std::string& argument : arguments) command += " '" + argument + "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> answer(popen(command.c_str(), "r"),
                                                               &pclose);
  Require(answer != nullptr, "no process for " + command);
  Figures figures;
  for (double figure = 0; std::fscanf(answer.get(), "%lf", &figure) == 1;)
    figures.push_back(figure);
  Require(!figures.empty(), "no answer from " + command);
  return figures;
}

void WorkAlone(const std::string& work, const std::vector<std::string>& arguments) {
  const std::map<std::string, Figures (*)(const std::vector<std::string>&)> works = {
      {"hold", &HoldCatalog}, {"open-first", &OpenFirst}, {"shape", &WorkOnShape}};
  const auto known = works.find(work);
  Require(known != works.end(), "no work " + work);
  for (const double figure : known->second(arguments)) std::printf("%.9g ", figure);
  std::printf("\n");
}

std::size_t Resident() {
  std::size_t pages = 0;
  std::size_t residentPages = 0;
  std::ifstream("/proc/self/statm") >> pages >> residentPages;
  return residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Not getrusage, whose peak counts that of the process that started this one.
std::size_t MostResident() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0)
      return 1024 * std::stoull(line.substr(line.find_first_of("0123456789")));
  }
  return 0;
}
