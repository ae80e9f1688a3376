// What the command line asked for.
#ifndef TARVIK_TOOLS_OPTIONS_H
#define TARVIK_TOOLS_OPTIONS_H

#include <cstdint>
#include <string>

struct Options {
  // For every command.
  std::string file;
  bool encrypted = false;
  std::string keyFile; // empty: the key built into the support library
  bool json = false;
  int verbosity = 0; // 1: the library's log lines, 2: its traces too

  // For some of them.
  std::string path;
  std::string item;
  std::string attribute;
  bool itemIsAttribute = false;
  std::string value;
  std::int32_t index = 1;
  std::uint32_t occurrence = 1;
  bool all = false;
  std::uint32_t depth = 0; // 0: all the way down
  std::string product;
  std::string branch;
  std::string packageType;
  std::string name;
};

#endif
