// What the command line asked for.
#ifndef TARVIK_TOOLS_OPTIONS_H
#define TARVIK_TOOLS_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

struct Options {
  // For every command.
  std::string file; // "-": standard input
  bool encrypted = false;
  std::string keyFile; // empty: the key built into the support library
  bool json = false;
  int verbosity = 0; // 1: the library's log lines, 2: its traces too

  // For some of them.
  std::string path;
  std::vector<std::string> items; // of set: items and values in turn
  std::string attribute;
  bool itemIsAttribute = false;
  bool existing = false;
  bool valueFromInput = false;
  bool dryRun = false;
  std::uint32_t index = 1;
  std::uint32_t occurrence = 1;
  bool all = false;
  std::uint32_t depth = 0; // 0: all the way down
  bool withIds = false;
  bool withValues = false;
  std::string product;
  std::string branch;
  std::string packageType;
  std::string name;
};

#endif
