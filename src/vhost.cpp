#include "vhost.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "internal/log.h"
#include "internal/saturated_int.h"
#include "internal/vhost_reader.h"
#include "internal/vhost_writer.h"
#include "kest_conf.h"

namespace {

constexpr char kLogSource[] = "vhost";

constexpr char kHttpFile[] = "/usr/kest/etc/httpd-vhost.conf-user";
constexpr char kHttpsFile[] = "/usr/kest/etc/httpd-ssl-vhost.conf-user";
constexpr char kHttpTemporary[] = "/usr/kest/etc/httpd-vhost.conf-user.tmp";
constexpr char kHttpsTemporary[] = "/usr/kest/etc/httpd-ssl-vhost.conf-user.tmp";

constexpr int kHttpType = 0;
constexpr int kHttpsType = 1;
constexpr size_t kFolderPathBytes = 64;
constexpr mode_t kFolderMode = 0777;
constexpr uid_t kFolderOwner = 1024;
constexpr gid_t kFolderGroup = 0;

constexpr char kVentoTlsLines[] =
    "SSLCipherSuite HIGH:MEDIUM\n"
    "SSLProtocol all -SSLv2\n"
    "SSLCertificateFile /usr/kest/etc/ssl/ssl.crt/server.crt\n"
    "SSLCertificateKeyFile /usr/kest/etc/ssl/ssl.key/server.key\n"
    "SSLEngine on\n";

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

struct FreePorts {
  void operator()(int* ports) const { std::free(ports); }
};
using Ports = std::unique_ptr<int, FreePorts>;

// One slot more than there can be ports, so that the list of ports always has its end.
Ports NoPorts(size_t hosts) { return Ports(static_cast<int*>(std::calloc(hosts + 1, sizeof(int)))); }

File OpenToWrite(const char* path) {
  FILE* const file = std::fopen(path, "w");
  if (file == nullptr) LogError("%s:%d Fail to fopen file [%s], errno=[%d]", path, errno);
  return File(file);
}

// A file that is being written, with the ports that it names.
struct Output {
  File file;
  Ports ports;
};

// False when what was kept back could not be written.
bool Close(File& file) { return std::fclose(file.release()) == 0; }

int ConfiguredHttpPort() {
  KestConf conf;
  return tarvel_internal::SaturatedInt(conf.Info(const_cast<char*>("httpport"), const_cast<char*>("")));
}

bool MakeSiteFolder(const std::string& name) {
  char path[kFolderPathBytes];
  std::snprintf(path, sizeof path, "/var/services/web/%s", name.c_str());
  struct stat info;
  if (stat(path, &info) == 0) return true;
  if (errno != ENOENT) {
    LogError("%s:%d stat[%s] failed! error_code=%d/%m", path, errno);
    return false;
  }
  if (mkdir(path, kFolderMode) != 0) {
    LogError("%s:%d mkdir[%s] failed! error_code=%d/%m", path, errno);
    return false;
  }
  // Neither result is looked at, deliberately: a site whose folder has another owner is served all the same.
  [[maybe_unused]] const int owned = chown(path, kFolderOwner, kFolderGroup);
  chmod(path, kFolderMode);
  return true;
}

bool WritePorts(const Json::Value& list, const Output& http, const Output& https) {
  for (const Json::Value& item : list) {
    const int type = item["vhosttype"].asInt();
    if (type != kHttpType && type != kHttpsType) {
      LogError("%s:%d The type [%d] of virtual host is wrong!!", type);
      return false;
    }
    const Output& output = type == kHttpType ? http : https;
    const int port = item["port"].asInt();
    if (tarvel_internal::AppendPort(output.file.get(), output.ports.get(), port) < 0) {
      LogError("%s:%d AppendPort() failed! port=[%d]", port);
      return false;
    }
  }
  return true;
}

bool WriteHosts(const Json::Value& list, const Output& http, const Output& https) {
  for (const Json::Value& item : list) {
    if (!MakeSiteFolder(item["folder"].asString())) return false;
    const Output& output = item["vhosttype"].asInt() != kHttpType ? https : http;
    if (!tarvel_internal::VHostConfWrite(output.file.get(), item)) {
      LogError("%s:%d VHostConfWrite() failed!!");
      return false;
    }
  }
  return true;
}

// Makes the files that are to take the old ones' places; true when they are whole.
bool WriteTemporaryFiles(const Json::Value& list) {
  Output http = {nullptr, NoPorts(list.size())};
  Output https = {nullptr, NoPorts(list.size())};
  if (!http.ports || !https.ports) {
    LogError("%s:%d Out of memory!!");
    return false;
  }
  http.file = OpenToWrite(kHttpTemporary);
  if (!http.file) return false;
  https.file = OpenToWrite(kHttpsTemporary);
  if (!https.file) return false;

  tarvel_internal::SetHttpPort(ConfiguredHttpPort());
  // Without hosts of users the files are empty, deliberately: then the appliance's own ones are not needed either.
  if (!list.empty()) {
    if (!WritePorts(list, http, https)) return false;
    if (!tarvel_internal::AppendDefaultHosts(http.file.get()) || !WriteHosts(list, http, https)) return false;
  }
  const bool http_is_whole = Close(http.file);
  return Close(https.file) && http_is_whole;
}

}  // namespace

bool VHost::VHostValueGet(char* line, char** value) { return tarvel_internal::ReadValue(line, value); }

int VHost::VHostPortGet(const char* file, int* ports, int max) { return tarvel_internal::ReadPorts(file, ports, max); }

int VHost::VHostInfoAllGet(Json::Value& list) {
  const int http = tarvel_internal::ReadHosts(kHttpFile, kHttpType, list);
  if (http < 0) return 0;
  const int https = tarvel_internal::ReadHosts(kHttpsFile, kHttpsType, list);
  return https < 0 ? http : http + https;
}

bool VHost::VHostInfoAllSet(Json::Value& list) {
  if (!list.isNull() && !list.isArray()) return false;
  try {
    if (!WriteTemporaryFiles(list)) return false;
  } catch (const Json::Exception&) {
    // The list may be a client's, and no request may end the program.
    return false;
  }
  // HTTPS first, and neither result is looked at, deliberately: what stands now is whole in either case.
  std::rename(kHttpsTemporary, kHttpsFile);
  std::rename(kHttpTemporary, kHttpFile);
  return true;
}

int VHost::VHostFileVentoSet(const char* file, const char* port, int ssl) {
  if (file == nullptr || port == nullptr) {
    LogError("%s:%d Bad parameters!!");
    return -1;
  }
  // Right into the file, deliberately: only the two files of the users' hosts have temporary ones.
  File output = OpenToWrite(file);
  if (!output) return -1;
  const std::string number = port;
  std::string lines = "Listen " + number + "\nNameVirtualHost *:" + number + "\n<VirtualHost *:" + number + ">\n";
  lines += "ServerName LocalMachine\nDocumentRoot /usr/kest/kestman/webfm\n";
  if (ssl != 0) lines += kVentoTlsLines;
  lines += "</VirtualHost>\n";
  const bool written = std::fputs(lines.c_str(), output.get()) >= 0;
  return Close(output) && written ? 0 : -1;
}
