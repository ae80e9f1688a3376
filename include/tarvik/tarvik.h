// Tarvik: path-based access to XML files. For C11, C++17 and every language that calls C functions; the records of
// strings and vectors, and the three functions that take them, are for C++ alone.
//
// What holds for every function here:
//
//  1. A result code comes back from each function: one of XmlResult, 0 for success.
//  2. All text is multibyte `char` text, zero-terminated, in the character set of the process's current locale. The
//     library never sets a locale: a program that works with text beyond ASCII calls setlocale first. A call uses the
//     locale in which it begins.
//  3. Sizes and capacities are in bytes, terminating zero included. Positions and occurrence numbers count from 1.
//  4. A text that is handed back never exceeds the capacity given with its buffer: a longer one is cut to capacity - 1
//     bytes and terminated; what stands behind the terminating zero is left as it was. A null buffer, or a capacity of
//     0, means that the caller wants no text.
//  5. A read that finds nothing returns XmlNotFound and hands back the text "Not Found". Where the document itself is
//     unknown, the buffer is not touched.
//  6. The caller owns everything it passes. The list owns the documents that are opened into it.
//  7. A list, its documents and the buffers of a call may be used by one thread at a time. Distinct lists share nothing
//     and may be used on different threads at once.
//  8. No exception leaves a function, except std::bad_alloc while a caller's own record (DetectionInfo) is filled.
//  9. The records hold standard strings and vectors: caller and library must share one C++ runtime. The eleven
//     functions without them ask for no more than the calling convention.
#ifndef TARVIK_TARVIK_H
#define TARVIK_TARVIK_H

#include <stdint.h>
#ifdef __cplusplus
#include <cstdint>
#include <string>
#include <vector>
#endif

// 32-bit Windows has several calling conventions. Callers with another default still match through this.
#if defined(_WIN32) && !defined(_WIN64)
#define TARVIK_CALL __stdcall
#else
#define TARVIK_CALL
#endif

// The version of this header, the one place where it stands.
#define TARVIK_VERSION_MAJOR 1
#define TARVIK_VERSION_MINOR 1
#define TARVIK_VERSION_PATCH 0

// What the functions return. New codes may be added.
enum XmlResult
#ifdef __cplusplus
    : uint32_t
#endif
{
  XmlSuccess = 0,          // done; also a read without a buffer, or with an item type that is neither keyword
  XmlOutOfMemory = 1,      // out of memory, or the file is not well-formed XML
  XmlNotFound = 3,         // no such document, parent group, group, element or attribute; or an enumeration has ended
  XmlFileNotFound = 5,     // there is no file of that name
  XmlInvalidArgument = 17, // a required pointer is null
  XmlFailure = 34,         // refused or failed: bad names or values, a failed save, any failure inside a call
  XmlFileUnreadable = 42,  // the file is there but can't be read (permission, a folder, a disk fault)
  XmlFileNotText = 43,     // unknown encoding, bytes that are invalid in it, refused by the cipher, or too long
};

// The caller's open documents. Opaque: made by InitXMLList, released by EndXMLList.
typedef struct XmlFileList XmlFileList; // NOLINT(modernize-use-using): for C

#ifdef __cplusplus
// One detection entry of a catalog paired with a language package of the same branch. A field whose source is missing
// is empty. Fields read from the document hold at most 259 bytes.
struct DetectionInfo {
  std::string ProductVersion;
  std::string ProductID;
  std::string LangID;
  std::string PlatformID;
  std::string MinimumDATVersion;
  std::string Branch;
  std::string PackageType;
  std::string EngineFile;
  std::string Version;
};

// Where EnumDetectionInfo resumes: package, detection entry in it, language package in it, each counted from 1. Start
// with {1, 1, 1}.
using DetectionPosition = std::uint32_t[3];

// One file of a language package. Both texts hold at most 259 bytes.
struct FileListEntry {
  std::string Name;
  std::string Hash;
};

extern "C" {
#endif
#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push(default) // a library built with hidden names exports what is declared here
#endif

// Makes an empty list and stores it in *list, whatever *list held before. Release it with EndXMLList.
// Returns XmlSuccess; XmlInvalidArgument when list is null; XmlOutOfMemory; XmlFailure.
uint32_t TARVIK_CALL InitXMLList(XmlFileList** list);

// Closes every document of *list, the oldest first, releases the list and sets *list to null. A null list or a handle
// that holds null is no error. Nothing is written to disk; sets whose save failed are given up.
// Returns XmlSuccess; XmlFailure.
uint32_t TARVIK_CALL EndXMLList(XmlFileList** list);

// Opens the XML file fileName and stores the document's cookie, a random number, in *cookie. A file that the list
// already holds under the same name (letter case apart) is not read again: its cookie comes back at once, and encoding
// and encrypted are ignored. A fresh opening takes at least one second.
//   fileName   is made absolute now, so saves reach this file whatever the working folder is then.
//   encoding   has no effect. Read are UTF-8, UTF-16 with a byte-order mark, and what the XML declaration names if the
//              system can convert it (iconv; on Windows its code pages) and its bytes 1 to 127 are ASCII.
//   encrypted  nonzero: the file is read, and later written, through corekit's cipher.
// On failure *cookie and the list stay as they were.
// Returns XmlSuccess; XmlInvalidArgument when list, fileName or cookie is null; XmlFileNotFound; XmlFileUnreadable;
// XmlFileNotText, also for more than 2^31 - 1 bytes of UTF-8; XmlOutOfMemory when memory runs out, the file is not
// well-formed or its entities or declared attributes grow out of proportion to it; XmlFailure when fileName or the
// root's name can't be converted, or on any other failure.
uint32_t TARVIK_CALL OpenXML(XmlFileList* list, const char* fileName, uint32_t encoding, int32_t encrypted,
                             uint32_t* cookie);

// Closes the document, for all who opened it. Nothing is written to disk; a set whose save failed is given up. An
// unknown cookie is no error.
// Returns XmlSuccess, always.
uint32_t TARVIK_CALL CloseXML(XmlFileList* list, uint32_t cookie);

// Opens the first element that groupPath names below a parent group. On entry groupId holds the parent's group ID, or
// an empty text for a group below the root; on return it holds the new group's ID, by which items are read and groups
// below are opened. A groupPath that names the root alone opens nothing and comes back as it is.
//   groupPath  element names separated by "\", each matching every name that begins with it, each optionally followed
//              by "&attribute=value", which chooses among elements; the root's name may stand in front.
//   groupId    must not be null and must hold a text; capacity is its size in bytes.
// Returns XmlSuccess; XmlNotFound, with "Not Found" in groupId when it was the parent or the element that is missing
// and groupId untouched when it was the document; XmlFailure.
uint32_t TARVIK_CALL OpenXMLGroup(XmlFileList* list, uint32_t cookie, const char* groupPath, char* groupId,
                                  uint32_t capacity);

// As OpenXMLGroup, for the element that is the occurrence-th match (counted from 1) of the last name in groupPath. The
// number is appended to the group ID when it is above 1. Call it with 1, 2, 3, ... and the parent's ID laid into
// groupId anew each time, until it returns XmlNotFound.
uint32_t TARVIK_CALL EnumXMLGroup(XmlFileList* list, uint32_t cookie, const char* groupPath, uint32_t occurrence,
                                  char* groupId, uint32_t capacity);

// Reads one item of an element that is already known: the root (by its name), an opened group (by its ID) or an element
// made or marked by SetXMLItem (by its path). The document is not searched for path.
//   itemName       the exact name of a child element; for an attribute item also the element's own name.
//   itemType       "ELEMENT": the text of the child. "ATTRIBUTE": an attribute of the element itself where itemName is
//                  its own name, else of the first child named itemName that has the attribute. Letter case does not
//                  matter.
//   attributeName  the attribute; null for "ELEMENT".
//   valueType      for an attribute found on a child: "ATTRIBUTE" gives its value, anything else the child's text.
// Returns XmlSuccess, without touching value when itemType is neither keyword; XmlNotFound; XmlFailure, also when the
// value can't be converted to the locale's character set, value then being as it was.
uint32_t TARVIK_CALL GetXMLItem(XmlFileList* list, uint32_t cookie, const char* path, const char* itemName,
                                const char* itemType, const char* attributeName, const char* valueType, char* value,
                                uint32_t capacity);

// As GetXMLItem, for the index-th child (counted from 1) named itemName, of those that have the attribute where one is
// asked for. An index beyond them, or a negative one, finds nothing; 0 takes the first child, whatever its name.
uint32_t TARVIK_CALL EnumXMLItem(XmlFileList* list, uint32_t cookie, const char* path, const char* itemName,
                                 const char* itemType, int32_t index, const char* attributeName, const char* valueType,
                                 char* value, uint32_t capacity);

// Sets the text of an element ("ELEMENT": the element named itemName below path) or an attribute ("ATTRIBUTE": the
// attribute itemName of the element at path), making the elements that are missing, and saves the file: atomically, in
// UTF-8, and through the cipher if it was opened so. The first element that matches at each step of path is used. Any
// other item type makes the elements of path and saves. The keywords must be in capitals. No argument but the list may
// be null. An empty path is the root; an empty attribute name or value sets no attribute.
// Every byte that was not set stays. Where another program changed the file since this document last read or wrote it,
// the sets that have not reached the file are carried out on what now stands there, so both changes are kept; the open
// document stays what it was plus its own sets. A file that is gone, empty or no longer well-formed is written anew
// from the document.
// Returns
//   XmlSuccess          the set is in the file.
//   XmlNotFound         no document has the cookie.
//   XmlInvalidArgument  the document has no root element.
//   XmlOutOfMemory      memory ran out; the file is whole.
//   XmlFailure          refused, with nothing changed in memory or in the file: an empty component in path; a name or
//                       value that XML can't carry, that can't be converted, or that its declared type would fold; an
//                       element that stands in an entity, or a text that refers to one that holds elements. Or the save
//                       failed: it can't be written, or what now stands there can't be read, can't be decrypted or has
//                       another root element. Then the file is whole, and the set waits in memory for the next save,
//                       unless all but the flush of the file's folder was done.
uint32_t TARVIK_CALL SetXMLItem(XmlFileList* list, uint32_t cookie, const char* path, const char* itemName,
                                const char* itemType, const char* value);

// Tells whether the repository of a site-status document is enabled, and which catalog version it names.
//   cookie                  address of the document's cookie; read only; must not be null.
//   enabled                 receives 1 when the attribute Status of SiteStatus is exactly "Enabled", else 0; must not
//                           be null; always written.
//   catalogVersion          receives the attribute CatalogVersion; may be null.
//   catalogVersionCapacity  address of its size in bytes; read only when catalogVersion is not null.
// Returns the code of the last read made: XmlSuccess; XmlNotFound, with "Not Found" in catalogVersion; XmlFailure.
uint32_t TARVIK_CALL IsRepositoryEnabled(XmlFileList* list, const uint32_t* cookie, uint8_t* enabled,
                                         char* catalogVersion, const uint32_t* catalogVersionCapacity);

// Stores 1 in *matches when the last component of the name that the document was opened by equals fileName, letter case
// apart, else 0. The last component starts behind the last "/", or where there is none behind the last "\".
// Returns XmlSuccess; XmlNotFound, *matches untouched; XmlInvalidArgument when matches is null.
uint32_t TARVIK_CALL MatchXmlListToFileName(XmlFileList* list, uint32_t cookie, const char* fileName,
                                            uint32_t* matches);

#ifdef __cplusplus
// Fills *info from the next detection entry and language package of the same branch, starting at position (a
// DetectionPosition), and moves position behind them. No pointer may be null.
// Returns the code of the last read made: XmlSuccess; XmlNotFound at the end of the catalog, and also for a pair whose
// language package has no Version (*info is filled then, and position has moved on); XmlFailure.
uint32_t TARVIK_CALL EnumDetectionInfo(XmlFileList* list, const uint32_t* cookie, uint32_t* position,
                                       DetectionInfo* info);

// Fills *info from the pair that belongs to a product, branch and package type. A null text matches nothing.
// Returns XmlSuccess; XmlNotFound, with all fields empty, or with the fields filled where only Version is missing;
// XmlFailure.
uint32_t TARVIK_CALL GetDetectionInfo(XmlFileList* list, const uint32_t* cookie, const char* branch,
                                      const char* productId, const char* packageType, DetectionInfo* info);

// Appends the files of the first language package of the first product package to *files, behind what it already holds.
// Returns XmlSuccess after at least one entry; XmlNotFound when there is none or when one lacks its Name or Hash (the
// entries before it stay); XmlFailure.
uint32_t TARVIK_CALL GetFileList(XmlFileList* list, const uint32_t* cookie, std::vector<FileListEntry>* files);
#endif

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif
#ifdef __cplusplus
} // extern "C"
#endif

#endif
