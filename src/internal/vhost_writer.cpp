#include "internal/vhost_writer.h"

#include <string>

#include "internal/log.h"

namespace tarvel_internal {

namespace {

constexpr char kLogSource[] = "vhost";

constexpr char kErrorDocuments[] =
    "ErrorDocument 403 \"/webdefault/sample.php?status=403\"\n"
    "ErrorDocument 404 \"/webdefault/sample.php?status=404\"\n"
    "ErrorDocument 500 \"/webdefault/sample.php?status=500\"\n";

constexpr int kHttp = 80;
constexpr int kHttps = 443;

int http_port = 0;

bool Write(std::FILE* file, const std::string& lines) { return std::fputs(lines.c_str(), file) >= 0; }

std::string NameLine(int port) { return "NameVirtualHost *:" + std::to_string(port) + "\n"; }

std::string BlockLine(int port) { return "<VirtualHost *:" + std::to_string(port) + ">\n"; }

// The name "*" is what tells these hosts from others when they are read; their folder has no quotes, deliberately.
std::string DefaultHost(int port) {
  return BlockLine(port) + "ServerName *\nDocumentRoot /var/services/web\n</VirtualHost>\n";
}

// What stands before a NUL.
std::string Text(const Json::Value& member) { return member.asString().c_str(); }

}  // namespace

void SetHttpPort(int port) { http_port = port; }

int AppendPort(std::FILE* file, int* ports, int port) {
  if (file == nullptr || ports == nullptr || port < 0) {
    LogError("%s:%d Bad parameters!!");
    return -1;
  }
  if (port == 0 || port == kHttp || port == http_port) return 0;
  int* slot = ports;
  while (*slot != 0 && *slot != port) ++slot;
  if (*slot == port) return 1;
  *slot = port;
  std::string lines;
  if (port != kHttps) lines = "Listen " + std::to_string(port) + "\n";
  return Write(file, lines + NameLine(port)) ? 1 : -1;
}

bool AppendDefaultHosts(std::FILE* file) {
  std::string names = NameLine(kHttp);
  std::string blocks = DefaultHost(kHttp);
  if (http_port != kHttp) {
    names += NameLine(http_port);
    blocks += DefaultHost(http_port);
  }
  return Write(file, names + blocks);
}

bool VHostConfWrite(std::FILE* file, const Json::Value& item) {
  if (file == nullptr) {
    LogError("%s:%d Bad parameters!!");
    return false;
  }
  std::string lines = BlockLine(item["port"].asInt());
  lines += "ServerName " + Text(item["host"]) + "\n";
  lines += "DocumentRoot \"/var/services/web/" + Text(item["folder"]) + "\"\n";
  lines += kErrorDocuments;
  if (item["vhosttype"].asInt() == 1) lines += "SSLEngine on\n";
  return Write(file, lines + "</VirtualHost>\n");
}

}  // namespace tarvel_internal
