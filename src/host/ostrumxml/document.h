#ifndef TARVIK_HOST_OSTRUMXML_DOCUMENT_H
#define TARVIK_HOST_OSTRUMXML_DOCUMENT_H

#include "host/ostrumxml/document_text.h"
#include "host/ostrumxml/node.h"

namespace Ostrum {

class Document {
 public:
  virtual ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  Element& GetRoot() noexcept;
  // The whole document as text. Nothing is laid out anew, whatever the flag says: a document that was not changed gives
  // its own source, and one that was differs from it in what was set.
  DocumentText GenerateXML(bool layout) const;
};

} // namespace Ostrum

#endif
