// Linked into a program in the library's place, leaves all documents to the parser.
#include "host/ostrumxml/read/readers.h"

namespace Ostrum {

bool ReadPlainly(DocumentData&) { return false; }

} // namespace Ostrum
