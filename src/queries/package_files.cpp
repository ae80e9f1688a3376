#include "queries/package_files.h"

#include <exception>

#include "queries/open_document.h"

bool AddFileListEntry(std::vector<FileListEntry>& files, const char* name, const char* hash) try {
  files.push_back({name, hash});
  return true;
} catch (const std::exception&) {
  return false;
}

namespace {

std::uint32_t AppendFile(const OpenDocument& document, const QueryText& item, std::vector<FileListEntry>& files) {
  QueryText name;
  std::uint32_t code = document.Read(item.Text(), TextOf("Name"), name);
  if (code != XmlSuccess) return code;
  QueryText hash;
  code = document.Read(item.Text(), TextOf("Hash"), hash);
  if (code != XmlSuccess) return code;
  return AddFileListEntry(files, name.Text(), hash.Text()) ? XmlSuccess : XmlFailure;
}

} // namespace

std::uint32_t TARVIK_CALL GetFileList(XmlFileList* list, const std::uint32_t* cookie,
                                      std::vector<FileListEntry>* files) {
  const OpenDocument document(list, *cookie);
  QueryText item;
  for (std::uint32_t n = 1;; ++n) {
    std::uint32_t code = document.EnumGroup("ProductPackage\\LangPackage\\FileList\\FileItem", n, "", item);
    if (code == XmlNotFound && n > 1) return XmlSuccess; // the end, after at least one entry
    if (code == XmlSuccess) code = AppendFile(document, item, *files);
    if (code != XmlSuccess) return code;
  }
}
