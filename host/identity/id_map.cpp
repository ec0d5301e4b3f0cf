#include <stdio.h>

#include <memory>

#include "host/identity/one_id.h"

namespace kest {
namespace {

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};

}  // namespace

bool MapsOneId(const char* path) {
  const std::unique_ptr<FILE, FileCloser> map(fopen(path, "re"));
  if (map == nullptr) return false;
  unsigned inside = 0, outside = 0, count = 0;
  if (fscanf(map.get(), "%u %u %u", &inside, &outside, &count) != 3 || count != 1) return false;
  return fscanf(map.get(), "%u", &inside) == EOF;
}

}  // namespace kest
