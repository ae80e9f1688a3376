#include <tarvik/tarvik.hpp>

#include <clocale>
#include <iostream>

int main() try {
  std::setlocale(LC_ALL, ""); // all text is in the locale's character set
  tarvik::Document catalog("catalog.xml", "Catalog");
  for (const tarvik::Group& package : catalog.Groups("ProductPackage")) {
    const auto product = package.Get("ProductID"), version = package.Get("LangPackage", "Version");
    std::cout << product.value_or("unnamed") << ' ' << version.value_or("-") << '\n';
  }
  catalog.Set("", "Published", "20240918.1"); // saves the file
  std::cout << "published " << *catalog.Get("Published") << '\n';
} catch (const tarvik::Error& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
