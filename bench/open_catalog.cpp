#include "open_catalog.h"

#include <libxml/parser.h>

#include <stdexcept>

void Require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

TarvikCatalog::TarvikCatalog(const std::string& file) {
  Require(InitXMLList(&list) == XmlSuccess, "no list");
  Require(OpenXML(list, file.c_str(), XmlOpenAtOnce, 0, &cookie) == XmlSuccess,
          "Tarvik can't read " + file);
}

// Compact text nodes and no network are what makes libxml2 fastest here.
LibXml2Catalog::LibXml2Catalog(const std::string& file)
    : document(xmlReadFile(file.c_str(), nullptr, XML_PARSE_COMPACT | XML_PARSE_NONET),
               &xmlFreeDoc) {
  Require(document != nullptr, "libxml2 can't read " + file);
}
