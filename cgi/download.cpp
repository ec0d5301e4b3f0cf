// download.cgi: sends one file of a share, whole or by ranges, or a folder as an archive.
//
//   GET path=/public/film.webm            the file; "Range" as RFC 9110 section 14 has it
//   GET path=/public/photos&archive=tar   the folder and everything below it
//   HEAD                                  the headers alone
//
// The file is read as the account. Refusals: 403 for what the account may not fetch and for what is no file, 404 for
// what is not there, 405 for other methods.
#include <syslog.h>
#include <tarvel/http_file_outputer.h>
#include <tarvel/tarvel.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

#include "content_disposition.h"
#include "file_refusal.h"
#include "folder_archive.h"
#include "share_files.h"

namespace {

constexpr site::FileRefusal kWrongMethod = {"405 Method Not Allowed", "error_method"};
constexpr site::FileRefusal kNoFormat = {"400 Bad Request", "error_no_format"};

bool IsMethod(const char* name) {
  const char* method = getenv("REQUEST_METHOD");
  return method != nullptr && strcmp(method, name) == 0;
}

// The lines that HTTPFileOutputer does not write. WriteHeader() would end the header block, so they are printed as it
// prints its own, and before them.
using Lines = std::vector<std::pair<const char*, std::string>>;

int SendHead(Tarvel& request, const Lines& lines, std::string type) {
  for (const auto& [name, value] : lines) request.AddHeader(name, value.c_str());
  return request.WriteHeader(type.data()) ? 0 : 1;
}

int Refuse(Tarvel& request, const site::FileRefusal& refusal) {
  if (!IsMethod("HEAD")) return site::RefuseFile(request, refusal);
  return SendHead(request, {{"Status", refusal.status}}, "text/plain; charset=\"UTF-8\"");
}

// Tells one state of a file from every other, so that a client may join pieces that carry the same tag. The time is
// that of the last change of any kind: a writer can set the other one back. A file that was changed just now may be
// changed again before the file system's clock ticks, so for a second its tag is weak (RFC 9110 section 8.8.1).
std::string EntityTag(const struct stat& info) {
  char tag[80];
  const bool is_settled = time(nullptr) - info.st_ctim.tv_sec > 1;
  snprintf(tag, sizeof tag, "%s\"%llx-%llx-%llx-%lx\"", is_settled ? "" : "W/",
           static_cast<unsigned long long>(info.st_ino), static_cast<unsigned long long>(info.st_size),
           static_cast<unsigned long long>(info.st_ctim.tv_sec), static_cast<unsigned long>(info.st_ctim.tv_nsec));
  return tag;
}

std::string HttpDate(time_t when) {
  char date[40] = "";
  struct tm utc;
  if (gmtime_r(&when, &utc) != nullptr) strftime(date, sizeof date, "%a, %d %b %Y %H:%M:%S GMT", &utc);
  return date;
}

// RFC 9110 section 13.1.5: a range of a file that has changed since is not what the client wants. A date is too coarse
// to tell that, so only a strong tag counts.
void ForgetRangeOfAnotherState(const std::string& tag) {
  const char* wanted = getenv("HTTP_IF_RANGE");
  if (wanted != nullptr && (tag != wanted || tag[0] != '"')) unsetenv("HTTP_RANGE");
}

// A film that opens by itself is fetched once more, as part of a page that the browser makes around it: out of a
// sandbox that would be another site's request.
constexpr char kMediaPolicy[] =
    "default-src 'none'; img-src 'self'; media-src 'self'; style-src 'unsafe-inline'; frame-ancestors 'none'";
constexpr char kKeptPolicy[] = "sandbox; default-src 'none'; frame-ancestors 'none'";

// Films, music and pictures may open in the browser. A page, a drawing or a document that may hold scripts is kept.
bool OpensInBrowser(const std::string& type) {
  if (type == "image/svg+xml") return false;
  for (const char* family : {"audio/", "image/", "video/"}) {
    if (type.compare(0, strlen(family), family) == 0) return true;
  }
  return false;
}

Lines LinesFor(const std::string& name, const std::string& type) {
  const bool opens = OpensInBrowser(type);
  return {
      {"Content-Disposition", site::ContentDisposition(opens ? "inline" : "attachment", name)},
      {"Content-Security-Policy", opens ? kMediaPolicy : kKeptPolicy},
      {"X-Content-Type-Options", "nosniff"},
      {"Cache-Control", "private, no-cache"},
  };
}

void Print(const Lines& lines) {
  for (const auto& [name, value] : lines) printf("%s: %s\r\n", name, value.c_str());
}

int SendFile(Tarvel& request, const site::FoundFile& file) {
  if (!S_ISREG(file.info.st_mode)) return Refuse(request, site::kNoFile);
  FILE* stream = site::OpenFile(file);
  if (stream == nullptr) return Refuse(request, site::RefusalOf(errno));

  HTTPFileOutputer outputer;
  const std::string type = outputer.GetMimeType(file.name.c_str());
  const std::string tag = EntityTag(file.info);
  Lines lines = LinesFor(file.name, type);
  lines.emplace_back("Accept-Ranges", "bytes");
  lines.emplace_back("ETag", tag);
  lines.emplace_back("Last-Modified", HttpDate(file.info.st_mtime));
  if (IsMethod("HEAD")) {
    lines.emplace_back("Content-Length", std::to_string(file.info.st_size));
    return SendHead(request, lines, type);
  }
  ForgetRangeOfAnotherState(tag);
  Print(lines);
  const int result = outputer.Output(stream, file.name.c_str(), type.c_str());
  struct stat now;
  if (result == 0 && fstat(fileno(stream), &now) == 0 && now.st_size < file.info.st_size) {
    syslog(LOG_ERR, "download: %s became shorter while it was sent", file.name.c_str());
  }
  fclose(stream);
  return result == 0 ? 0 : 1;
}

int SendArchive(Tarvel& request, const site::FoundFile& folder) {
  if (!S_ISDIR(folder.info.st_mode)) return Refuse(request, site::kNoFolder);
  const std::string name = folder.name + ".tar";
  const std::string type = "application/x-tar";
  const Lines lines = LinesFor(name, type);
  if (IsMethod("HEAD")) return SendHead(request, lines, type);
  site::FolderArchive archive(folder);
  if (archive.stream() == nullptr) return Refuse(request, site::RefusalOf(errno));

  Print(lines);
  const int result = HTTPFileOutputer().Output(archive.stream(), name.c_str(), type.c_str());
  // Too late to tell the client, whose archive has an end all the same.
  if (!archive.Finish() && result == 0) syslog(LOG_ERR, "download: the archive of %s is not complete", name.c_str());
  return result == 0 ? 0 : 1;
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  if (!IsMethod("GET") && !IsMethod("HEAD")) {
    request.AddHeader("Allow", "GET, HEAD");
    return Refuse(request, kWrongMethod);
  }
  const std::string archive = request.In("archive", "");
  if (!archive.empty() && archive != "tar") return Refuse(request, kNoFormat);
  site::FoundFile file;
  const site::Use use = archive.empty() ? site::Use::kFetch : site::Use::kFetchAll;
  if (const auto* refusal = site::FindFile(request, request.In("path", ""), use, file))
    return Refuse(request, *refusal);
  return archive.empty() ? SendFile(request, file) : SendArchive(request, file);
}
