#include "internal/json_text.h"

#include <json/reader.h>
#include <json/writer.h>

#include <cstring>

// jsoncpp's later readers and writers have another notion of "is JSON" and give other bytes, so the two deprecated
// classes stay in use, here and nowhere else.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace tarvel_internal {

bool ParseJson(const char* text, Json::Value& out) {
  Json::Reader reader;
  try {
    return reader.parse(text, text + std::strlen(text), out, /*collectComments=*/true);
  } catch (const Json::Exception&) {
    // A request's body can reach the reader's nesting limit, and no request may end the program.
    return false;
  }
}

std::string FormatJson(const Json::Value& value) { return Json::StyledWriter().write(value); }

}  // namespace tarvel_internal

#pragma GCC diagnostic pop
