// upload.cgi: receives one file into a folder of a share, as the account.
//
//   POST path=/public[&name=a.bin] in the address, multipart/form-data with a file field "file"
//        {"data": {"name": "a.bin", "size": 1024}, "success": true}
//
// The content is staged on the share's volume and never held in memory; it gets its name when all of it has arrived,
// and never takes another file's. What can be refused before the content comes is: "name" is there for that alone.
#include <fcntl.h>
#include <tarvel/tarvel.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "address.h"
#include "new_file.h"
#include "share_files.h"

namespace {

bool Exists(const site::FoundFile& folder, const std::string& name) {
  struct stat info;
  return !name.empty() && fstatat(folder.place.get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}

const site::FileRefusal* FindFolder(Tarvel& request, site::FoundFile& folder) {
  const site::Address address;
  if (const auto* refusal = site::FindFile(request, address.Get("path"), site::Use::kChange, folder)) return refusal;
  if (!S_ISDIR(folder.info.st_mode)) return &site::kNoFolder;
  if (!site::MayMakeFiles(folder)) return &site::RefusalOfChange(errno);
  return Exists(folder, address.Get("name")) ? &site::kTaken : nullptr;
}

int Receive(Tarvel& request, const site::FoundFile& folder) {
  std::string staging = site::StagingFolder(folder);
  if (request.LoadIn(staging.empty() ? nullptr : staging.data()) < 0) {
    return site::Refuse(request, "upload", "error_not_received");
  }
  const char* name = request.In("file", nullptr);
  if (name == nullptr) return site::Refuse(request, "upload", "error_no_file_field");
  const char* staged = request.In("file.path", nullptr);
  if (staged == nullptr) return site::Refuse(request, "upload", "error_no_file_chosen");
  if (const int error = site::MoveInto(folder, name, staged)) {
    return site::RefuseFile(request, site::RefusalOfChange(error));
  }
  Json::Value data;
  data["name"] = name;
  data["size"] = Json::Int64(strtoll(request.In("file.size", "0"), nullptr, 10));
  return site::Succeed(request, data);
}

}  // namespace

int main() {
  // The body is not a parameter line: it is read by LoadIn(char*), and only for somebody who may send it.
  Tarvel request(false);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  if (!site::IsOwnOrigin()) return site::RefuseChange(request);
  if (!request.IsUploadRequest()) return site::Refuse(request, "upload", "error_no_upload");
  site::FoundFile folder;
  if (const auto* refusal = FindFolder(request, folder)) return site::RefuseFile(request, *refusal);
  return Receive(request, folder);
}
