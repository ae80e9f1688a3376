// The facts of a detection entry paired with a language package.
#ifndef TARVIK_QUERIES_DETECTION_FIELDS_H
#define TARVIK_QUERIES_DETECTION_FIELDS_H

#include "queries/open_document.h"

// The group IDs of a pair and of the package that holds both.
struct DetectionGroups {
  QueryText package;
  QueryText detection;
  QueryText language;
};

void ClearDetectionInfo(DetectionInfo& info) noexcept;

// Reads an item of a group into a field, which stays as it was when there is none. Gives the read's code. Like
// everything here it throws std::bad_alloc when the field can't grow.
std::uint32_t ReadField(const OpenDocument& document, const QueryText& group, const QueryItem& item,
                        std::string& field);

// Fills MinimumDATVersion and EngineFile from the language package's extra settings. XmlSuccess too when it has none.
std::uint32_t ReadExtraSettings(const OpenDocument& document, const QueryText& language, DetectionInfo& info);

#endif
