// A document that is open in Tarvik or in one of the peers, read from its file by each library's
// own means.
#ifndef TARVIK_BENCH_OPEN_CATALOG_H
#define TARVIK_BENCH_OPEN_CATALOG_H

#include <libxml/tree.h>
#include <tinyxml2.h>

#include <cstdint>
#include <memory>
#include <pugixml.hpp>
#include <string>

#include "tarvik/tarvik.h"

// Throws std::runtime_error naming what is wrong. A benchmark of libraries that disagree would mean
// nothing.
void Require(bool holds, const std::string& what);

class TarvikCatalog {
 public:
  explicit TarvikCatalog(const std::string& file);
  ~TarvikCatalog() { EndXMLList(&list); }
  TarvikCatalog(const TarvikCatalog&) = delete;
  TarvikCatalog& operator=(const TarvikCatalog&) = delete;

  XmlFileList* List() const { return list; }
  const std::uint32_t& Cookie() const { return cookie; }

 private:
  XmlFileList* list = nullptr;
  std::uint32_t cookie = 0;
};

struct PugiCatalog {
  explicit PugiCatalog(const std::string& file) {
    Require(document.load_file(file.c_str()).status == pugi::status_ok,
            "pugixml can't read " + file);
  }
  pugi::xml_document document;
};

// Keeps what Tarvik keeps: comments, white space, the declaration.
struct FullPugiCatalog {
  explicit FullPugiCatalog(const std::string& file) {
    constexpr unsigned options = pugi::parse_full | pugi::parse_ws_pcdata;
    Require(document.load_file(file.c_str(), options).status == pugi::status_ok,
            "pugixml can't read " + file);
  }
  pugi::xml_document document;
};

struct TinyCatalog {
  explicit TinyCatalog(const std::string& file) {
    Require(document.LoadFile(file.c_str()) == tinyxml2::XML_SUCCESS,
            "TinyXML-2 can't read " + file);
  }
  tinyxml2::XMLDocument document;
};

struct LibXml2Catalog {
  explicit LibXml2Catalog(const std::string& file);
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document;
};

#endif
