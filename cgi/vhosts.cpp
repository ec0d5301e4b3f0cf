// vhosts.cgi: the virtual hosts of the sites.
//
//   GET  action=load    {"data": {"hosts": [{"id", "vhosttype", "port", "host", "folder", "served"}, ...], "told":
//   true},
//                        "success": true}; "told" is false when the web server of the sites is not to be reached.
//                       "https_port" is what new HTTPS hosts are offered, 0 for nothing
//   POST action=apply&change=save&original=ID&vhosttype=0|1&port=...&host=...&folder=...
//                       changes the host of that id, or adds one when it is empty
//   POST action=apply&change=remove&original=ID
//
// A change answers what load answers, once the web server serves it, or with the failure; the hosts are then as they
// were:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
#include <strings.h>
#include <sys/stat.h>
#include <tarvel/kest_conf.h>
#include <tarvel/webutils.h>
#include <unistd.h>

#include <cstdlib>
#include <set>
#include <string>

#include "name_text.h"
#include "settings_form.h"
#include "site_server.h"
#include "vhost_list.h"
#include "vhost_names.h"

namespace {

constexpr char kSites[] = "/var/services/web/";
constexpr int kHttpPort = 80;
constexpr int kHttpsPort = 443;
// More ports than this the check of a new port does not look at, and calls everything a conflict.
constexpr size_t kMostPorts = 10;
constexpr const char* kServices[] = {"http", "https"};

int PortSetting(const char* key) {
  KestConf settings;
  return atoi(settings.Info(const_cast<char*>(key), const_cast<char*>("")));
}

int TypeOf(const Json::Value& host) { return host["vhosttype"].asInt(); }
int PortOf(const Json::Value& host) { return host["port"].asInt(); }

// In the order of the files, which is that in which they are read back.
Json::Value Sorted(const Json::Value& hosts) {
  Json::Value sorted(Json::arrayValue);
  for (const int type : {0, 1}) {
    for (const Json::Value& host : hosts) {
      if (TypeOf(host) == type) sorted.append(host);
    }
  }
  return sorted;
}

Json::Value Described(const Json::Value& hosts, const site::SiteOutcome& outcome) {
  Json::Value data;
  data["hosts"] = Json::Value(Json::arrayValue);
  for (Json::Value host : hosts) {
    host["id"] = site::VHostList::IdOf(host);
    host["served"] = outcome.Serves(PortOf(host), host["host"].asString());
    host["host"] = site::AsUtf8(host["host"].asString());
    host["folder"] = site::AsUtf8(host["folder"].asString());
    data["hosts"].append(host);
  }
  data["told"] = outcome.is_known;
  data["https_port"] = PortSetting("httpsport");
  return data;
}

// A site's folder that a change has made, and that goes again with the change.
class NewFolder {
 public:
  explicit NewFolder(const std::string& name) : path_(kSites + name) {
    is_new_ = !name.empty() && stat(path_.c_str(), &info_) != 0;
  }
  bool IsFile() const { return !is_new_ && !S_ISDIR(info_.st_mode); }
  void TakeBack() const {
    if (is_new_) rmdir(path_.c_str());
  }

 private:
  std::string path_;
  struct stat info_ = {};
  bool is_new_;
};

class VHostsForm : public site::SettingsForm {
 public:
  int Load() override { return Succeed(Described(site::VHostList::Read(), site::LastSiteOutcome())); }

 protected:
  int Save() override {
    if (!list_.TakeTurn()) return Fail("error_hosts_not_saved");
    const std::string original = request.In("original", "");
    index_ = list_.Find(original);
    if (!original.empty() && index_ == list_.hosts().size()) return Fail("error_host_gone");
    const std::string change = request.In("change", "");
    if (change == "remove" && !original.empty()) return Remove();
    return change == "save" ? SaveHost() : Fail("error_unknown_action");
  }

 private:
  int Remove() {
    Json::Value hosts = list_.hosts();
    Json::Value removed;
    hosts.removeIndex(index_, &removed);
    return Put(hosts, nullptr);
  }

  int SaveHost() {
    if (!IsEachFieldRight()) return Fail(nullptr);
    const Json::Value host = Wanted();
    if (!CheckHost(host) || !CheckPort(host)) return Fail(nullptr);
    Json::Value hosts = list_.hosts();
    hosts[index_] = host;
    return Put(Sorted(hosts), &host);
  }

  bool IsEachFieldRight() {
    FormValidator form;
    int types[] = {0, 1};
    form.AddIntegerList("vhosttype", types, 2);
    form.AddNumberField("port", 1, 65535);
    form.AddTextField("host", site::kHostBytes, false);
    form.AddTextField("folder", site::kFolderBytes, false);
    return form.Validate(*this);
  }

  Json::Value Wanted() {
    Json::Value host;
    host["vhosttype"] = atoi(request.In("vhosttype", ""));
    host["port"] = atoi(request.In("port", ""));
    host["host"] = request.In("host", "");
    host["folder"] = request.In("folder", "");
    return host;
  }

  bool RefuseFor(const char* field, const char* key) {
    Refuse(field, key);
    return false;
  }

  bool CheckHost(const Json::Value& host) {
    const std::string name = host["host"].asString();
    const std::string folder = host["folder"].asString();
    bool fine = site::IsHostName(name) || RefuseFor("host", "error_host_name");
    fine = (site::IsSiteFolder(folder) || RefuseFor("folder", "error_site_folder")) && fine;
    if (!fine) return false;
    if (NewFolder(folder).IsFile()) return RefuseFor("folder", "error_folder_is_file");
    for (Json::ArrayIndex i = 0; i < list_.hosts().size(); ++i) {
      const Json::Value& other = list_.hosts()[i];
      const bool is_same = PortOf(other) == PortOf(host) && strcasecmp(other["host"].asCString(), name.c_str()) == 0;
      if (i != index_ && is_same) return RefuseFor("host", "error_host_twice");
    }
    return true;
  }

  bool CheckPort(const Json::Value& host) {
    const int port = PortOf(host);
    const int http_port = PortSetting("httpport");
    const bool is_web_port = port == kHttpPort || port == http_port;
    if ((TypeOf(host) == 1 && is_web_port) || IsPortOf(1 - TypeOf(host), port)) {
      return RefuseFor("port", "error_port_other_protocol");
    }
    // A host that changes its protocol brings its port along: in the files that port is still the former protocol's.
    const bool is_own = index_ < list_.hosts().size() && PortOf(list_.hosts()[index_]) == port;
    const int type = is_own ? TypeOf(list_.hosts()[index_]) : TypeOf(host);
    if (WebUtils::IsPortConflict(kServices[type], port, port) != 0) return RefuseFor("port", "error_port_conflict");
    if (PortsWith(host, http_port) > kMostPorts) return RefuseFor("port", "error_too_many_ports");
    return true;
  }

  // Whether another host of that type has the port.
  bool IsPortOf(int type, int port) const {
    for (Json::ArrayIndex i = 0; i < list_.hosts().size(); ++i) {
      const Json::Value& other = list_.hosts()[i];
      if (i != index_ && TypeOf(other) == type && PortOf(other) == port) return true;
    }
    return false;
  }

  // How many ports its file would name as ports to listen on.
  size_t PortsWith(const Json::Value& host, int http_port) const {
    std::set<int> ports = {PortOf(host)};
    for (Json::ArrayIndex i = 0; i < list_.hosts().size(); ++i) {
      const Json::Value& other = list_.hosts()[i];
      if (i != index_ && TypeOf(other) == TypeOf(host)) ports.insert(PortOf(other));
    }
    for (const int elsewhere : {kHttpPort, kHttpsPort, http_port}) ports.erase(elsewhere);
    return ports.size();
  }

  // Writes the hosts and has them served. `changed` is the one that has to be served then; null when none has.
  int Put(const Json::Value& hosts, const Json::Value* changed) {
    const NewFolder folder(changed != nullptr ? (*changed)["folder"].asString() : "");
    const char* failure = list_.Write(hosts);
    if (failure != nullptr) {
      folder.TakeBack();
      return Fail(failure);
    }
    const site::SiteOutcome outcome = site::ReloadSites();
    if (!outcome.is_known || IsServed(outcome, changed)) return Succeed(Described(hosts, outcome));
    failure = list_.WriteBack(outcome.is_refused ? "error_hosts_refused" : nullptr);
    site::ReloadSites();
    folder.TakeBack();
    if (failure == nullptr) Blame(outcome.closed.count(PortOf(*changed)) != 0);
    return Fail(failure);
  }

  static bool IsServed(const site::SiteOutcome& outcome, const Json::Value* changed) {
    if (changed == nullptr) return !outcome.is_refused;
    return outcome.Serves(PortOf(*changed), (*changed)["host"].asString());
  }

  void Blame(bool is_port) {
    Refuse(is_port ? "port" : "host", is_port ? "error_port_closed" : "error_host_not_served");
  }

  site::VHostList list_;
  Json::ArrayIndex index_ = 0;
};

}  // namespace

int main() { return VHostsForm().Run(); }
