// Tarvik: path-based access to XML files. For C11, C++17 and every language that calls C functions;
// the records of strings and vectors, and the three functions that take them, are for C++ alone.
// tarvik.hpp offers the same to C++ as objects.
//
// What holds for every function here:
//
//  1. Each returns a result code: one of XmlResult, 0 for success. Check it before using a buffer.
//  2. All text is `char` text, terminated by a zero, in the character set of the process's current
//     locale, or in UTF-8 after corekit::SetUtf8(true). The library never sets a locale: a program
//     that works with text beyond ASCII calls setlocale or SetUtf8 first. A call uses what was set
//     when it began.
//  3. Sizes and capacities are in bytes, including the terminating zero. Positions and occurrence
//     numbers count from 1.
//  4. Text that is returned is truncated to capacity - 1 bytes, even inside a character, and
//     terminated; the code is still XmlSuccess. If the length of the text is capacity - 1, read
//     again into a larger buffer. The bytes after the text are not changed. With a null buffer or
//     a capacity of 0, no text is stored.
//  5. A read that finds nothing returns XmlNotFound and stores the text "Not Found", even over a
//     default that the caller put into the buffer. If no document has the cookie, the buffer is not
//     changed.
//  6. The caller owns everything it passes. The list owns the documents that are opened into it.
//  7. A list and its documents may be used by one thread at a time. Different lists may be used on
//     different threads at once.
//  8. No exception leaves a function, except std::bad_alloc while a caller's own record
//     (DetectionInfo) is filled.
//  9. The records hold standard strings and vectors: caller and library must share one C++ runtime.
//     The eleven functions without them need only the calling convention.
#ifndef TARVIK_TARVIK_H
#define TARVIK_TARVIK_H

#include <stdint.h>
#ifdef __cplusplus
#include <cstdint>
#include <string>
#include <vector>

// On Windows, the library is built with the GNU C++ runtime. The strings and vectors of others are
// laid out differently, so the library would crash on the records of such a caller.
#if defined(_MSC_VER) || (defined(_WIN32) && !defined(__GLIBCXX__))
#define TARVIK_RECORDS_DIFFER
#endif
#endif

// 32-bit Windows has several calling conventions; callers with another default match through this.
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
  // Done; also a read whose item type is neither keyword.
  XmlSuccess = 0,
  // Out of memory, or the file is not well-formed XML.
  XmlOutOfMemory = 1,
  // No such document, parent group, group, element or attribute; or an enumeration has ended.
  XmlNotFound = 3,
  // There is no file of that name.
  XmlFileNotFound = 5,
  // InitXMLList, OpenXML, MatchXmlListToFileName: a required pointer is null.
  XmlInvalidArgument = 17,
  // An invalid name or value, null text in other functions, a failed save, any other failure.
  XmlFailure = 34,
  // The file can't be read (permission, a folder, a disk fault, too long a name).
  XmlFileUnreadable = 42,
  // Unknown encoding, bytes that are invalid in it, refused by the cipher, or too long.
  XmlFileNotText = 43,
};

// As the encoding of OpenXML: open without the wait of a second.
#define XmlOpenAtOnce UINT32_C(0x80000000)

// The caller's open documents. Opaque: created by InitXMLList, released by EndXMLList.
typedef struct XmlFileList XmlFileList; // NOLINT(modernize-use-using): for C

#ifdef __cplusplus
// One detection entry of a catalog, paired with a language package of the same branch. A field
// whose source is missing is empty. Fields read from the document hold at most 259 bytes.
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

// One file of a language package. Both strings hold at most 259 bytes.
struct FileListEntry {
  std::string Name;
  std::string Hash;
};

extern "C" {
#endif
#if defined(__GNUC__) && !defined(_WIN32)
// A library built with hidden names exports what is declared here.
#pragma GCC visibility push(default)
#endif

// Creates an empty list and stores it in *list, whatever *list held before. Release it with
// EndXMLList. Returns XmlSuccess; XmlInvalidArgument if list is null; XmlOutOfMemory; XmlFailure.
uint32_t TARVIK_CALL InitXMLList(XmlFileList** list);

// Closes every document of *list, the oldest first, releases the list and sets *list to null. A
// null list or a handle that holds null is not an error. Nothing is written to disk: changes whose
// save failed are lost. Returns XmlSuccess; XmlFailure.
uint32_t TARVIK_CALL EndXMLList(XmlFileList** list);

// Opens the XML file fileName and stores the document's cookie, a random number (0 included), in
// *cookie. A file that the list already holds under the same name (ignoring case) is not read
// again: its cookie is returned at once, and encoding and encrypted are ignored. An opening that
// reads the file takes at least one second, unless it fails or encoding is XmlOpenAtOnce.
//   fileName   is made absolute now, so saves reach this file whatever the working folder is then.
//              The list remembers 259 bytes of it: a file with a longer name is opened anew by each
//              call.
//   encoding   XmlOpenAtOnce: the call does not wait. Any other value has no effect. The file's
//              encoding is detected: UTF-8, UTF-16 with a byte-order mark, or what the XML
//              declaration names if the system can convert it (iconv; on Windows its code pages)
//              and its bytes 1 to 127 are ASCII.
//   encrypted  nonzero: the file is read, and later written, through corekit's cipher.
// On failure, *cookie and the list are not changed. Returns:
//   XmlSuccess
//   XmlInvalidArgument  list, fileName or cookie is null.
//   XmlFileNotFound
//   XmlFileUnreadable
//   XmlFileNotText      also for more than 2^31 - 1 bytes of UTF-8.
//   XmlOutOfMemory      memory ran out, the file is not well-formed, or its entities or declared
//                       attributes are too large for its size.
//   XmlFailure          fileName or the root's name can't be converted; any other failure.
uint32_t TARVIK_CALL OpenXML(XmlFileList* list, const char* fileName, uint32_t encoding,
                             int32_t encrypted, uint32_t* cookie);

// Closes the document, for all who opened it. Nothing is written to disk: changes whose save failed
// are lost. An unknown cookie is not an error. Always returns XmlSuccess.
uint32_t TARVIK_CALL CloseXML(XmlFileList* list, uint32_t cookie);

// Opens the first element that groupPath names below a parent group. On entry, groupId holds the
// parent's group ID, or an empty string for a group below the root. On return, it holds the new
// group's ID, by which items are read and groups below are opened until the document is closed. A
// groupPath that is empty or only the root's name opens nothing and is stored in groupId unchanged.
//   groupPath  element names separated by "\", each matching every name that begins with it.
//              "&attribute=value" after a name means the first match whose attribute begins with
//              value. The path may begin with the root's name, so a first name that begins with the
//              root's name is dropped: put the root's name before such a name. Truncated to 259
//              bytes.
//   groupId    must not be null, and must hold a string. 260 bytes are enough: an ID is truncated
//              to 259 bytes.
// Returns XmlSuccess; XmlNotFound, also for an unknown parent, groupId then holding "Not Found";
// XmlFailure, groupId then unchanged.
uint32_t TARVIK_CALL OpenXMLGroup(XmlFileList* list, uint32_t cookie, const char* groupPath,
                                  char* groupId, uint32_t capacity);

// As OpenXMLGroup, for the occurrence-th match (counted from 1) of the last name in groupPath. An
// occurrence above 1 is appended to the group ID. To enumerate, call it with 1, 2, 3, ... until it
// returns XmlNotFound, and copy the parent's ID into groupId before each call. If the last name has
// an attribute, each occurrence opens the same element, so such an enumeration never ends.
uint32_t TARVIK_CALL EnumXMLGroup(XmlFileList* list, uint32_t cookie, const char* groupPath,
                                  uint32_t occurrence, char* groupId, uint32_t capacity);

// Reads one item of an element that is already known: the root (path is its name), an opened group
// (its ID), or an element that SetXMLItem created (its path) or wrote an attribute of (its path and
// "&attribute=value"). The path may begin with the root's name, as groupPath may. The document is
// not searched for path.
//   itemName       the exact name of a child element; for an attribute also the element's own name.
//   itemType       begins with "ELEMENT", ignoring case: the text of the child. Begins with
//                  "ATTRIBUTE": an attribute of the element itself if itemName is its name, else
//                  of the first child named itemName that has the attribute.
//   attributeName  the attribute; ignored for "ELEMENT".
//   valueType      for an attribute of a child: "ATTRIBUTE" gives its value, anything else the
//                  child's text. Ignored for "ELEMENT".
//   value          see 4 and 5 above: it may be truncated, and is overwritten if nothing is found.
// Returns XmlSuccess, also if itemType is neither keyword, value then being unchanged; XmlNotFound;
// XmlFailure, also if the value has no form in the caller's character set, value then being
// unchanged.
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

// Writes an item, creates the elements that are missing, and saves the file: atomically, in UTF-8,
// and through the cipher if it was opened so. Every byte of a UTF-8 file that was not written
// stays. If another program changed the file since this document last read or wrote it, the changes
// that have not reached the file are applied to what is there now, so both are kept; the open
// document keeps its own content. A file that is gone, empty or no longer well-formed is written
// anew from the document.
//   path      as groupPath, but of any length, and never a group ID: it always takes the first
//             match of each name. So "Time" writes to Timeout if that comes first, and "Package3",
//             the ID of an enumerated group, creates an element of that name: both return
//             XmlSuccess. To see which element it was, read the item by GetXMLItem, whose names
//             are exact. "&attribute=value" after a name writes that attribute; it does not choose.
//             An attribute without name or value is ignored. An empty path is the root.
//   itemName  for "ELEMENT", appended to path; for "ATTRIBUTE", the attribute's name.
//   itemType  in capitals. "ELEMENT": the text of the element at path and itemName. "ATTRIBUTE": an
//             attribute of the element at path. Anything else: only missing elements of path are
//             created.
// Returns:
//   XmlSuccess          the change is in the file.
//   XmlNotFound         no document has the cookie.
//   XmlInvalidArgument  the document has no root element.
//   XmlOutOfMemory      memory ran out; the file is whole.
//   XmlFailure          one of these, which the log names:
//     Refused, with nothing changed in memory or in the file:
//     - null text, or an empty name
//     - a name that is not an XML name, a value with a character that XML does not allow, or one
//       that is invalid in the caller's character set
//     - a value that begins or ends with white space, or has two in a row, for an attribute that
//       the file's <!ATTLIST> declares as anything but CDATA: readers would drop it
//     - an element that comes from an entity, or text that refers to an entity with elements or to
//       one that is not declared in the file
//     The save failed; the file is whole, and the change waits in memory for the next save:
//     - the file can't be written
//     - what is there now can't be read, decrypted or decoded, has another root, or can't take the
//       change
//     The file's folder could not be flushed; the change is in the file.
uint32_t TARVIK_CALL SetXMLItem(XmlFileList* list, uint32_t cookie, const char* path,
                                const char* itemName, const char* itemType, const char* value);

// Tells whether the repository of a site-status document is enabled, and which catalog version it
// names.
//   cookie                  address of the document's cookie; must not be null.
//   enabled                 receives 1 if the attribute Status of SiteStatus is exactly "Enabled",
//                           else 0; must not be null; always written.
//   catalogVersion          receives the attribute CatalogVersion; may be null. Unlike in 4 and 5
//                           above, the whole buffer is written, even if no document has the cookie.
//   catalogVersionCapacity  address of its size in bytes; read only if catalogVersion is not null.
// Returns the code of the last read: XmlSuccess; XmlNotFound; XmlFailure.
uint32_t TARVIK_CALL IsRepositoryEnabled(XmlFileList* list, const uint32_t* cookie,
                                         uint8_t* enabled, char* catalogVersion,
                                         const uint32_t* catalogVersionCapacity);

// Stores 1 in *matches if the last component of the name that the document was opened by equals
// fileName, ignoring case, else 0. Of that name, 259 bytes count. The last component starts after
// the last "/", or, without one, after the last "\". Returns XmlSuccess; XmlNotFound, *matches then
// unchanged; XmlInvalidArgument if fileName or matches is null.
uint32_t TARVIK_CALL MatchXmlListToFileName(XmlFileList* list, uint32_t cookie,
                                            const char* fileName, uint32_t* matches);

#if defined(__cplusplus) && !defined(TARVIK_RECORDS_DIFFER)
// Fills *info from the next detection entry and language package of the same branch, starting at
// position (a DetectionPosition), and moves position past them. No pointer may be null. Returns the
// code of the last read: XmlSuccess; XmlNotFound at the end of the catalog (all fields are empty
// then, and position[2] is 1 if the walk began at {1, 1, 1}), and for a pair whose language package
// has no Version (*info is filled then); XmlFailure.
uint32_t TARVIK_CALL EnumDetectionInfo(XmlFileList* list, const uint32_t* cookie,
                                       uint32_t* position, DetectionInfo* info);

// Fills *info from the pair that belongs to a product, branch and package type. Null text matches
// nothing; no other pointer but list may be null. Returns XmlSuccess; XmlNotFound, with all fields
// empty, or with the fields filled where only Version is missing; XmlFailure.
uint32_t TARVIK_CALL GetDetectionInfo(XmlFileList* list, const uint32_t* cookie, const char* branch,
                                      const char* productId, const char* packageType,
                                      DetectionInfo* info);

// Appends the files of the first language package of the first product package to *files. No
// pointer but list may be null. Returns XmlSuccess after at least one entry; XmlNotFound if there
// is none or if one lacks its Name or Hash (the entries before it stay); XmlFailure.
uint32_t TARVIK_CALL GetFileList(XmlFileList* list, const uint32_t* cookie,
                                 std::vector<FileListEntry>* files);
#endif

#if defined(__GNUC__) && !defined(_WIN32)
#pragma GCC visibility pop
#endif
#ifdef __cplusplus
} // extern "C"
#endif

// A call of the three functions is then a compile error that says why.
#ifdef TARVIK_RECORDS_DIFFER
#define TARVIK_OTHER_RUNTIME(name)                                                       \
  template <class... Arguments>                                                          \
  uint32_t name(Arguments...) {                                                          \
    static_assert(sizeof...(Arguments) > 99, #name                                       \
                  " fills C++ records of the GNU runtime, which this compiler does not " \
                  "share. Read the items with the functions of plain types instead.");   \
    return XmlFailure;                                                                   \
  }
TARVIK_OTHER_RUNTIME(EnumDetectionInfo)
TARVIK_OTHER_RUNTIME(GetDetectionInfo)
TARVIK_OTHER_RUNTIME(GetFileList)
#undef TARVIK_OTHER_RUNTIME
#endif

#endif
