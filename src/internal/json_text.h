#ifndef TARVEL_INTERNAL_JSON_TEXT_H
#define TARVEL_INTERNAL_JSON_TEXT_H

#include <json/value.h>

#include <string>

namespace tarvel_internal {

/// Parses a NUL-terminated text, comments collected. False when the reader refuses it, or when it is nested deeper than
/// the reader's limit; `out` is then in whatever state the reader left it.
bool ParseJson(const char* text, Json::Value& out);

/// Indented text, members in key order, with a final newline.
std::string FormatJson(const Json::Value& value);

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_JSON_TEXT_H
