// Sends the file that PATH_TRANSLATED names, whole or by the ranges of HTTP_RANGE.
#include <tarvel/http_file_outputer.h>

#include <cstdlib>

int main() {
  const char* path = std::getenv("PATH_TRANSLATED");
  return HTTPFileOutputer().Output(path, "application/octet-stream") == 0 ? 0 : 1;
}
