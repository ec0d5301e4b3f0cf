// Writes the virtual hosts of a JSON array on standard input as a program of the site does: through the library,
// whatever they hold.
#include <json/reader.h>
#include <tarvel/vhost.h>

#include <iostream>

int main() {
  Json::Value list;
  std::string errors;
  if (!Json::parseFromStream(Json::CharReaderBuilder(), std::cin, &list, &errors)) return 2;
  return VHost::VHostInfoAllSet(list) ? 0 : 1;
}
