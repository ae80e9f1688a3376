// A locale for the length of a scope.
#ifndef TARVIK_TESTS_SUPPORT_LOCALE_GUARD_H
#define TARVIK_TESTS_SUPPORT_LOCALE_GUARD_H

#include <clocale>
#include <stdexcept>
#include <string>

class LocaleGuard {
 public:
  explicit LocaleGuard(const std::string& name) : before(std::setlocale(LC_ALL, nullptr)) {
    if (std::setlocale(LC_ALL, name.c_str()) == nullptr) throw std::runtime_error("no locale " + name);
  }
  ~LocaleGuard() { std::setlocale(LC_ALL, before.c_str()); }
  LocaleGuard(const LocaleGuard&) = delete;
  LocaleGuard& operator=(const LocaleGuard&) = delete;

 private:
  std::string before;
};

#endif
