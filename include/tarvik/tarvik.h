// Tarvik: path-based access to XML files. For C11, C++17 and every language that calls C functions;
// the records of strings and vectors, and the three functions that take them, are for C++ alone.
//
// What holds for every function here:
//
//  1. A result code comes back from each function: one of XmlResult, 0 for success.
//  2. All text is multibyte `char` text, zero-terminated, in the character set of the process's
//  current locale. The
//     library never sets a locale: a program that works with text beyond ASCII calls setlocale
//     first. A call uses the locale in which it begins.
//  3. Sizes and capacities are in bytes, terminating zero included. Positions and occurrence
//  numbers count from 1.
//  4. A text that is handed back is cut to capacity - 1 bytes, even inside a character, and
//  terminated. The bytes
//     behind it stay as they were. With a null buffer or a capacity of 0, no text is stored.
//  5. A read that finds nothing returns XmlNotFound and stores the text "Not Found". If no document
//  has the cookie, the
//     buffer stays as it was.
//  6. The caller owns everything it passes. The list owns the documents that are opened into it.
//  7. A list and its documents may be used by one thread at a time. Different lists may be used on
//  different threads at
//     once.
//  8. No exception leaves a function, except std::bad_alloc while a caller's own record
//  (DetectionInfo) is filled.
//  9. The records hold standard strings and vectors: caller and library must share one C++ runtime.
//  The eleven
//     functions without them need only the calling convention.
#ifndef TARVIK_TARVIK_H
#define TARVIK_TARVIK_H

#include <stdint.h>
#ifdef __cplusplus
#include <cstdint>
#include <string>
#include <vector>
#endif

// 32-bit Windows has several calling conventions. Callers with another default still match through
// this.
#if defined(_WIN32) && !defined(_WIN64)
#define TARVIK_CALL __stdcall
#else
#define TARVIK_CALL
#endif

// The version of this header, the one place where it stands.
#define TARVIK_VERSION_MAJOR 1
#define TARVIK_VERSION_MINOR 2
#define TARVIK_VERSION_PATCH 0

// What the functions return. New codes may be added.
enum XmlResult
#ifdef __cplusplus
    : uint32_t
#endif
{
  XmlSuccess = 0,     // done; also a read whose item type is neither keyword
  XmlOutOfMemory = 1, // out of memory, or the file is not well-formed XML
  XmlNotFound =
      3, // no such document, parent group, group, element or attribute; or an enumeration has ended
  XmlFileNotFound = 5, // there is no file of that name
  XmlInvalidArgument =
      17, // InitXMLList, OpenXML, MatchXmlListToFileName: a required pointer is null
  XmlFailure =
      34, // a bad name or value, a null text in other functions, a failed save, any other failure
  XmlFileUnreadable =
      42, // the file is there but can't be read (permission, a folder, a disk fault)
  XmlFileNotText =
      43, // unknown encoding, bytes that are invalid in it, refused by the cipher, or too long
};

// As the encoding of OpenXML: open without the wait of a second.
#define XmlOpenAtOnce UINT32_C(0x80000000)

// The caller's open documents. Opaque: made by InitXMLList, released by EndXMLList.
typedef struct XmlFileList XmlFileList; // NOLINT(modernize-use-using): for C

#ifdef __cplusplus
// One detection entry of a catalog paired with a language package of the same branch. A field whose
// source is missing is empty. Fields read from the document hold at most 259 bytes.
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

// Where EnumDetectionInfo resumes: package, detection entry in it, language package in it, each
// counted from 1. Start with {1, 1, 1}.
using DetectionPosition = std::uint32_t[3];

// One file of a language package. Both texts hold at most 259 bytes.
struct FileListEntry {
  std::string Name;
  std::string Hash;
};

extern "C" {
#endif
#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility push( \
    default) // a library built with hidden names exports what is declared here
#endif

// Makes an empty list and stores it in *list, whatever *list held before. Release it with
// EndXMLList. Returns XmlSuccess; XmlInvalidArgument when list is null; XmlOutOfMemory; XmlFailure.
uint32_t TARVIK_CALL InitXMLList(XmlFileList** list);

// Closes every document of *list, the oldest first, releases the list and sets *list to null. A
// null list or a handle that holds null is no error. Nothing is written to disk; sets whose save
// failed are lost. Returns XmlSuccess; XmlFailure.
uint32_t TARVIK_CALL EndXMLList(XmlFileList** list);

// Opens the XML file fileName and stores the document's cookie, a random number (0 included), in
// *cookie. A file that the list already holds under the same name (letter case apart) is not read
// again: its cookie comes back at once, and encoding and encrypted are ignored. An opening that
// reads the file takes at least one second, unless it fails or encoding is XmlOpenAtOnce.
//   fileName   is made absolute now, so saves reach this file whatever the working folder is then.
//   The list remembers
//              259 bytes of it: a file with a longer name is opened anew each time.
//   encoding   XmlOpenAtOnce: the call does not wait. Any other value has no effect. Read are
//   UTF-8, UTF-16 with a byte-order mark, and what the XML declaration names if the
//              system can convert it (iconv; on Windows its code pages) and its bytes 1 to 127 are
//              ASCII.
//   encrypted  nonzero: the file is read, and later written, through corekit's cipher.
// On failure *cookie and the list stay as they were.
// Returns XmlSuccess; XmlInvalidArgument when list, fileName or cookie is null; XmlFileNotFound;
// XmlFileUnreadable; XmlFileNotText, also for more than 2^31 - 1 bytes of UTF-8; XmlOutOfMemory
// when memory runs out, the file is not well-formed or its entities or declared attributes grow out
// of proportion to it; XmlFailure when fileName or the root's name can't be converted, or on any
// other failure.
uint32_t TARVIK_CALL OpenXML(XmlFileList* list, const char* fileName, uint32_t encoding,
                             int32_t encrypted, uint32_t* cookie);

// Closes the document, for all who opened it. Nothing is written to disk; sets whose save failed
// are lost. An unknown cookie is no error. Returns XmlSuccess, always.
uint32_t TARVIK_CALL CloseXML(XmlFileList* list, uint32_t cookie);

// Opens the first element that groupPath names below a parent group. On entry groupId holds the
// parent's group ID, or an empty text for a group below the root. On return it holds the new
// group's ID, by which items are read and groups below are opened until the document is closed. A
// groupPath that is empty or only the root's name opens nothing and is stored in groupId unchanged.
//   groupPath  element names separated by "\", each matching every name that begins with it.
//   "&attribute=value" behind
//              a name means the first match whose attribute begins with value. The root's name may
//              stand in front, so a first name that begins with the root's name is dropped. Cut at
//              259 bytes.
//   groupId    must not be null and must hold a text. 260 bytes are enough: an ID is cut at 259
//   bytes.
// Returns XmlSuccess; XmlNotFound, also for an unknown parent; XmlFailure.
uint32_t TARVIK_CALL OpenXMLGroup(XmlFileList* list, uint32_t cookie, const char* groupPath,
                                  char* groupId, uint32_t capacity);

// As OpenXMLGroup, for the occurrence-th match (counted from 1) of the last name in groupPath. An
// occurrence above 1 is appended to the group ID. To enumerate, call it with 1, 2, 3, ... until it
// returns XmlNotFound, and copy the parent's ID into groupId before each call. If the last name has
// an attribute, each occurrence opens the same element, so such an enumeration never ends.
uint32_t TARVIK_CALL EnumXMLGroup(XmlFileList* list, uint32_t cookie, const char* groupPath,
                                  uint32_t occurrence, char* groupId, uint32_t capacity);

// Reads one item of an element that is already known: the root (path is its name), an opened group
// (its ID), or an element that SetXMLItem made (its path) or set an attribute of (its path and
// "&attribute=value"). The root's name may stand in front, as in groupPath. The document is not
// searched for path.
//   itemName       the exact name of a child element; for an attribute item also the element's own
//   name. itemType       begins with "ELEMENT": the text of the child; with "ATTRIBUTE": an
//   attribute of the element itself
//                  if itemName is its name, else of the first child named itemName that has the
//                  attribute. Letter case does not matter.
//   attributeName  the attribute; ignored for "ELEMENT".
//   valueType      for an attribute of a child: "ATTRIBUTE" gives its value, another text the
//   child's text. Ignored
//                  for "ELEMENT".
// Returns XmlSuccess, also when itemType is neither keyword, value then being as it was;
// XmlNotFound; XmlFailure, also when the value can't be converted to the locale's character set,
// value then being as it was.
uint32_t TARVIK_CALL GetXMLItem(XmlFileList* list, uint32_t cookie, const char* path,
                                const char* itemName, const char* itemType,
                                const char* attributeName, const char* valueType, char* value,
                                uint32_t capacity);

// As GetXMLItem, for the index-th (counted from 1) of the children named itemName, for an attribute
// of those that have it. A larger or a negative index finds nothing; 0 takes the first child,
// whatever its name. For an attribute of the element itself, index has no effect.
uint32_t TARVIK_CALL EnumXMLItem(XmlFileList* list, uint32_t cookie, const char* path,
                                 const char* itemName, const char* itemType, int32_t index,
                                 const char* attributeName, const char* valueType, char* value,
                                 uint32_t capacity);

// Sets an item, makes the elements that are missing, and saves the file: atomically, in UTF-8, and
// through the cipher if it was opened so. Every byte of a UTF-8 file that was not set stays. If
// another program changed the file since this document last read or wrote it, the sets that have
// not reached the file are carried out on what is there now, so both changes are kept; the open
// document keeps its own content. A file that is gone, empty or no longer well- formed is written
// anew from the document.
//   path      as groupPath, but of any length, and always the first match: "Time" sets Timeout if
//   that comes first.
//             "&attribute=value" behind a name sets that attribute; it does not choose. An
//             attribute without name or value is ignored. An empty path is the root.
//   itemType  in capitals. "ELEMENT": the text of the element at path and itemName, joined to one
//   path. "ATTRIBUTE":
//             the attribute itemName of the element at path. Any other text: only missing elements
//             of path are made.
// Returns
//   XmlSuccess          the set is in the file.
//   XmlNotFound         no document has the cookie.
//   XmlInvalidArgument  the document has no root element.
//   XmlOutOfMemory      memory ran out; the file is whole.
//   XmlFailure          refused, with nothing changed in memory or in the file: a null text; an
//   empty name; a name or
//                       value that XML can't carry, that can't be converted, or whose blanks its
//                       declared type would fold; an element from an entity's text, or a text that
//                       refers to an entity with elements. Or the save failed: the file can't be
//                       written, or what is there now can't be read, decrypted or decoded, has
//                       another root, or can't take the set. Then the file is whole, and the set
//                       waits in memory for the next save. If only the flush of the file's folder
//                       failed, it is in the file.
uint32_t TARVIK_CALL SetXMLItem(XmlFileList* list, uint32_t cookie, const char* path,
                                const char* itemName, const char* itemType, const char* value);

// Tells whether the repository of a site-status document is enabled, and which catalog version it
// names.
//   cookie                  address of the document's cookie; must not be null.
//   enabled                 receives 1 when the attribute Status of SiteStatus is exactly
//   "Enabled", else 0; must not
//                           be null; always written.
//   catalogVersion          receives the attribute CatalogVersion; may be null. Unlike in 4 and 5
//   above, the whole
//                           buffer is written, even if no document has the cookie.
//   catalogVersionCapacity  address of its size in bytes; read only when catalogVersion is not
//   null.
// Returns the code of the last read made: XmlSuccess; XmlNotFound; XmlFailure.
uint32_t TARVIK_CALL IsRepositoryEnabled(XmlFileList* list, const uint32_t* cookie,
                                         uint8_t* enabled, char* catalogVersion,
                                         const uint32_t* catalogVersionCapacity);

// Stores 1 in *matches when the last component of the name that the document was opened by equals
// fileName, letter case apart, else 0. Of that name, 259 bytes count. The last component starts
// behind the last "/", or, without one, behind the last "\". Returns XmlSuccess; XmlNotFound,
// *matches untouched; XmlInvalidArgument when fileName or matches is null.
uint32_t TARVIK_CALL MatchXmlListToFileName(XmlFileList* list, uint32_t cookie,
                                            const char* fileName, uint32_t* matches);

#ifdef __cplusplus
// Fills *info from the next detection entry and language package of the same branch, starting at
// position (a DetectionPosition), and moves position behind them. No pointer may be null. Returns
// the code of the last read made: XmlSuccess; XmlNotFound at the end of the catalog (all fields are
// empty then, and position[2] is 1), and for a pair whose language package has no Version (*info is
// filled then); XmlFailure.
uint32_t TARVIK_CALL EnumDetectionInfo(XmlFileList* list, const uint32_t* cookie,
                                       uint32_t* position, DetectionInfo* info);

// Fills *info from the pair that belongs to a product, branch and package type. A null text matches
// nothing; no other pointer but list may be null. Returns XmlSuccess; XmlNotFound, with all fields
// empty, or with the fields filled where only Version is missing; XmlFailure.
uint32_t TARVIK_CALL GetDetectionInfo(XmlFileList* list, const uint32_t* cookie, const char* branch,
                                      const char* productId, const char* packageType,
                                      DetectionInfo* info);

// Appends the files of the first language package of the first product package to *files, behind
// what it already holds. No pointer but list may be null. Returns XmlSuccess after at least one
// entry; XmlNotFound when there is none or when one lacks its Name or Hash (the entries before it
// stay); XmlFailure.
uint32_t TARVIK_CALL GetFileList(XmlFileList* list, const uint32_t* cookie,
                                 std::vector<FileListEntry>* files);
#endif

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif
#ifdef __cplusplus
} // extern "C"
#endif

#endif
