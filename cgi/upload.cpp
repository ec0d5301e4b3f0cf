// upload.cgi: receives one file, tells what arrived and throws it away.
//
//   POST multipart/form-data, file field "file"
//        {"data": {"name": "a.bin", "size": 1024}, "success": true}
//
// The content is spooled to the staging directory of a volume and is never held in memory. What a program does not
// move away from there is removed when its request ends, so nothing is left to do here.
#include <tarvel/tarvel.h>

#include <cstdlib>

#include "reply.h"

int main() {
  // The body is not a parameter line: it is read by LoadIn(char*), and only for somebody who may send it.
  Tarvel request(false);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  if (!site::IsOwnOrigin()) return site::RefuseChange(request);
  if (!request.IsUploadRequest()) return site::Refuse(request, "upload", "error_no_upload");
  if (request.LoadIn(static_cast<char*>(nullptr)) < 0) return site::Refuse(request, "upload", "error_not_received");

  const char* name = request.In("file", nullptr);
  if (name == nullptr) return site::Refuse(request, "upload", "error_no_file_field");
  if (name[0] == '\0') return site::Refuse(request, "upload", "error_no_file_chosen");

  Json::Value data;
  data["name"] = name;
  data["size"] = Json::Int64(strtoll(request.In("file.size", "0"), nullptr, 10));
  return site::Succeed(request, data);
}
