#include <tarvel/tarvel.h>

#include <cstdio>

int main() {
  Tarvel request(false);  // an upload is no parameter line
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;

  Json::Value reply;
  reply["success"] = false;
  if (request.IsUploadRequest() && request.LoadIn(static_cast<char*>(nullptr)) >= 0) {
    // Staged on the same volume, so keeping it is a rename. What is not moved away goes with the request.
    const char* staged = request.In("file.path", nullptr);
    reply["success"] = staged != nullptr && rename(staged, "/volume1/public/received") == 0;
    reply["name"] = request.In("file", "");
    reply["size"] = request.In("file.size", "0");
  }
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.WriteHeader(type);
  request.WriteBody(reply);
}
