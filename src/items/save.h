#ifndef TARVIK_ITEMS_SAVE_H
#define TARVIK_ITEMS_SAVE_H

#include "registry/record.h"

// Writes the document to the file of that name in one atomic step, through the cipher if it was opened so. Throws
// std::bad_alloc, or std::runtime_error when the file can't be written, which then is as it was.
void SaveDocument(const XmlFileRecord& record, const wchar_t* fileName);

#endif
