#include "items/save.h"

#include "corekit/corekit.h"
#include "host/ostrumxml/file.h"

void SaveDocument(const XmlFileRecord& record, const wchar_t* fileName) {
  const Ostrum::ByteFilter encrypt = record.encrypted != 0 ? &corekit::KCryptWrap::encrypt_data : nullptr;
  Ostrum::WriteBufferToFile(fileName, record.document->GenerateXML(false), Ostrum::UTF_8, encrypt, nullptr);
}
