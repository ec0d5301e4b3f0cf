#ifndef TESTS_CONTRACT_UPLOAD_BODY_H_
#define TESTS_CONTRACT_UPLOAD_BODY_H_

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "cgi_request.h"
#include "scratch_directory.h"

/// A multipart body with the boundary "bound", as browsers write it.
class UploadBody {
 public:
  UploadBody& Field(const std::string& name, const std::string& value) {
    return Part("Content-Disposition: form-data; name=\"" + name + "\"\r\n", value);
  }
  UploadBody& File(const std::string& name, const std::string& file_name, const std::string& content) {
    return Part("Content-Disposition: form-data; name=\"" + name + "\"; filename=\"" + file_name +
                    "\"\r\nContent-Type: application/octet-stream\r\n",
                content);
  }
  UploadBody& Part(const std::string& header_lines, const std::string& content) {
    text_ += "--bound\r\n" + header_lines + "\r\n" + content + "\r\n";
    return *this;
  }
  std::string End() const { return text_ + "--bound--\r\n"; }

 private:
  std::string text_;
};

inline CgiRequest UploadRequest(const std::string& body, const std::string& boundary = "bound") {
  return CgiRequest::Post(body, "multipart/form-data; boundary=" + boundary);
}

/// What a program sees of an upload into a directory of its own: the result, then for each name "name=[value]" and for
/// a file " size:content" behind it, then the refusal if any. The path is checked on the way and not printed.
inline std::string Upload(const CgiRequest& request, const std::vector<std::string>& names) {
  const ScratchDirectory directory;
  std::string seen = request.Run([&] {
    CgiContext context;
    printf("%d", KestCgiLoadUploadData(context.get(), directory.Path().c_str(), 0));
    for (const std::string& name : names) {
      const char* const value = KestCgiGetCGIParam(context.get(), name.c_str(), nullptr);
      const char* const path = KestCgiGetCGIParam(context.get(), (name + ".path").c_str(), nullptr);
      const char* const size = KestCgiGetCGIParam(context.get(), (name + ".size").c_str(), nullptr);
      if (value != nullptr) printf(" %s=[%s]", name.c_str(), value);
      if (path == nullptr) continue;
      if (std::string(path).rfind(directory.Path(), 0) != 0) printf(" (elsewhere: %s)", path);
      std::ifstream file(path, std::ios::binary);
      const std::string content((std::istreambuf_iterator<char>(file)), {});
      printf(" %s:", size);
      fwrite(content.data(), 1, content.size(), stdout);
    }
    KestCgiPrintHTTPHeader(context.get());
  });
  for (const std::string& name : directory.Names()) seen += "(left behind: " + name + ")";
  return seen;
}

#endif  // TESTS_CONTRACT_UPLOAD_BODY_H_
