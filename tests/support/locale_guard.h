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

// Where there is no UTF-8, as in the C library of Windows, locales go by their code pages.
inline const bool hasUtf8 = std::setlocale(LC_ALL, "C.UTF-8") != nullptr && std::setlocale(LC_ALL, "C") != nullptr;
// Has no character beyond U+00FF.
inline const char* const narrowLocale = hasUtf8 ? "C" : ".1252";
// Has Japanese, which takes several bytes; "\xFF" is no text in it.
inline const char* const multibyteLocale = hasUtf8 ? "C.UTF-8" : ".932";

#endif
