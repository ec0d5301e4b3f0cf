#include <tarvel/form_handler.h>
#include <tarvel/kest_conf.h>
#include <tarvel/platform/klib.h>

class TimeServerForm : public ServerFormHandler {
 public:
  int Load() override {
    KestConf settings;
    char server[] = "ntp_server", minutes[] = "ntp_minutes", none[] = "";
    Json::Value data;
    data["ntp_server"] = settings.Info(server, none);
    data["ntp_minutes"] = settings.Info(minutes, none);
    ReportSuccess(data);
    return 1;
  }

  int Apply() override {
    FormValidator form;
    form.AddTextField("ntp_server", 64, false);
    form.AddNumberField("ntp_minutes", 1, 1440);
    if (form.Validate(*this)) {
      if (Store("ntp_server") && Store("ntp_minutes")) return Load();
      SetFormErrInfo("error", "error_save_failed", 0);
    }
    ReportError();
    return 0;
  }

 private:
  bool Store(const char* field) {
    return KLIBFileSetKeyValue("/etc/kestinfo.conf", field, request.In(field, ""), "%s=\"%s\"\n") >= 0;
  }
};

int main() { TimeServerForm().Process(); }
