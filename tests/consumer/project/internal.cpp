// Must not link: what is not in a public header is not exported.
#include <json/value.h>

#include <string>

namespace tarvel_internal {
std::string FormatJson(const Json::Value& value);
}

int main() { return static_cast<int>(tarvel_internal::FormatJson(Json::Value()).size()); }
