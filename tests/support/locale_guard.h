// Locales of any character set, created if the system lacks them.
#ifndef TARVIK_TESTS_SUPPORT_LOCALE_GUARD_H
#define TARVIK_TESTS_SUPPORT_LOCALE_GUARD_H

#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "support/temp_folder.h"

// Without UTF-8, as in the C library of Windows, locales are named by code pages.
inline const bool hasUtf8 =
    std::setlocale(LC_ALL, "C.UTF-8") != nullptr && std::setlocale(LC_ALL, "C") != nullptr;
// Has no Chinese or Japanese.
inline const char* const narrowLocale = hasUtf8 ? "C" : ".1252";
// Has Japanese, in several bytes per character; "\xFF" is not valid in it.
inline const char* const multibyteLocale = hasUtf8 ? "WINDOWS-31J" : ".932";

// Sets the process's locale for characters. A locale named by its character set or, like "tr_TR",
// by its language is created first if there is none of that name.
inline void UseLocale(const std::string& name) {
#ifndef _WIN32
  static const TempFolder
      made; // kept to the program's end, because the C library keeps searching it
  setenv("LOCPATH", made.Path().c_str(), 1);
  if (name[0] != 'C' && !std::filesystem::exists(made.Name(name))) {
    const bool isCharset = name[2] != '_';
    const std::string source =
        made.Write("source", "LC_CTYPE\ncopy \"" + (isCharset ? "i18n_ctype" : name) +
                                 "\"\nEND LC_CTYPE\nLC_COLLATE\ncopy \"POSIX\"\nEND LC_COLLATE\n");
    // localedef warns of missing categories, also in its exit status. setlocale shows whether it
    // succeeded.
    const std::string options =
        "-i " + source + " -f " + (isCharset ? name : "UTF-8") + " " + made.Name(name);
    if (std::system(("localedef --no-archive -c 2>/dev/null " + options).c_str()) == -1)
      throw std::bad_alloc();
  }
#endif
  if (std::setlocale(LC_CTYPE, name.c_str()) == nullptr)
    throw std::runtime_error(name + ": no localedef or charmaps?");
}

// Sets a locale for the duration of a scope.
class LocaleGuard {
 public:
  explicit LocaleGuard(const std::string& name) : before(std::setlocale(LC_CTYPE, nullptr)) {
    UseLocale(name);
  }
  ~LocaleGuard() { std::setlocale(LC_CTYPE, before.c_str()); }
  LocaleGuard(LocaleGuard&&) = delete;

 private:
  std::string before;
};

#endif
