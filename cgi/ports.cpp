// ports.cgi: the ports of the services, one form for each.
//
//   GET  action=load                                {"data": {field: value, ...}, "success": true}, all services'
//   fields POST action=apply&service=ftp&ftpport=21&...    the fields of one service; answers the same, or the failure:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
//
// Each field is the setting of the same name. A port that another service has is refused.
#include <tarvel/webutils.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "settings_form.h"
#include "settings_store.h"
#include "site_server.h"
#include "vhost_list.h"

namespace {

// The web server's own port, which the library writes into the virtual hosts' file.
constexpr char kWebPort[] = "httpport";

// A service by the name that the check of ports knows, and its fields; null where it has none.
struct Service {
  const char* name;
  const char* port;
  const char* second;  ///< a second port
  const char* low;     ///< first and last port of a range
  const char* high;
};

constexpr Service kServices[] = {
    {"adminUI", "admin_port", "secure_admin_port", nullptr, nullptr},
    {"http", kWebPort, nullptr, nullptr, nullptr},
    {"https", "httpsport", nullptr, nullptr, nullptr},
    {"ftp", "ftpport", nullptr, "ftplowport", "ftphighport"},
    {"download", nullptr, nullptr, "download_start_port", "download_end_port"},
    {"surveillance", nullptr, nullptr, "surveillance_low_port", "surveillance_high_port"},
    {"cfs", "cfs_httpport", "cfs_httpsport", nullptr, nullptr},
};

const Service* FindService(const std::string& name) {
  for (const Service& service : kServices) {
    if (name == service.name) return &service;
  }
  return nullptr;
}

std::vector<const char*> FieldsOf(const Service& service) {
  std::vector<const char*> fields;
  for (const char* field : {service.port, service.second, service.low, service.high}) {
    if (field != nullptr) fields.push_back(field);
  }
  return fields;
}

class PortsForm : public site::SettingsForm {
 public:
  int Load() override { return Show(); }

 protected:
  int Save() override {
    const Service* const service = FindService(request.In("service", ""));
    if (service == nullptr) return Fail("error_unknown_service");
    FormValidator form;
    for (const char* field : FieldsOf(*service)) form.AddNumberField(field, 1, 65535);
    if (!form.Validate(*this) || !CheckApart(*service) || !CheckOthers(*service)) return Fail(nullptr);
    const char* failure = StoreAll(*service);
    return failure == nullptr ? Show() : Fail(failure);
  }

 private:
  int Show() {
    KestConf settings;
    Json::Value data;
    for (const Service& service : kServices) {
      for (const char* field : FieldsOf(service)) data[field] = site::StoredSetting(settings, field);
    }
    return Succeed(data);
  }

  int Port(const char* field) { return atoi(request.In(field, "")); }

  bool RefuseFor(const char* field, const char* key) {
    Refuse(field, key);
    return false;
  }

  // The check of ports looks at the other services alone.
  bool CheckApart(const Service& service) {
    if (service.second != nullptr && Port(service.port) == Port(service.second)) {
      return RefuseFor(service.second, "error_port_twice");
    }
    if (service.low == nullptr) return true;
    if (Port(service.low) > Port(service.high)) return RefuseFor(service.high, "error_port_range");
    if (service.port == nullptr) return true;
    const bool is_inside = Port(service.low) <= Port(service.port) && Port(service.port) <= Port(service.high);
    return !is_inside || RefuseFor(service.port, "error_port_inside");
  }

  bool CheckOthers(const Service& service) {
    bool fine = true;
    for (const char* field : {service.port, service.second}) {
      if (field != nullptr) fine = CheckOne(service, field) && fine;
    }
    return service.low == nullptr ? fine : CheckRange(service) && fine;
  }

  bool CheckOne(const Service& service, const char* field) {
    const int port = Port(field);
    return WebUtils::IsPortConflict(service.name, port, port) == 0 || RefuseFor(field, "error_port_conflict");
  }

  // Beside the end that collides; beside the first port when what collides lies in between.
  bool CheckRange(const Service& service) {
    if (WebUtils::IsPortConflict(service.name, Port(service.low), Port(service.high)) == 0) return true;
    const int high = Port(service.high);
    const bool is_end = WebUtils::IsPortConflict(service.name, high, high) != 0;
    return RefuseFor(is_end ? service.high : service.low, "error_port_conflict");
  }

  const char* StoreAll(const Service& service) {
    std::vector<std::pair<std::string, std::string>> values;
    for (const char* field : FieldsOf(service)) values.emplace_back(field, std::to_string(Port(field)));
    if (service.port != kWebPort) return site::StoreSettings(values);
    return StoreWebPort(values);
  }

  // The virtual hosts are written anew with it, in their turn, and served so.
  const char* StoreWebPort(const std::vector<std::pair<std::string, std::string>>& values) {
    site::VHostList list;
    if (!list.TakeTurn()) return "error_save_failed";
    KestConf before;
    const std::string old = site::StoredSetting(before, kWebPort);
    const char* failure = site::StoreSettings(values);
    if (failure != nullptr || list.hosts().empty()) return failure;
    failure = list.Write(list.hosts());
    if (failure == nullptr) {
      site::ReloadSites();
      return nullptr;
    }
    const char* worse = site::StoreSettings({{kWebPort, old}});
    return worse == nullptr ? failure : worse;
  }
};

}  // namespace

int main() { return PortsForm().Run(); }
