#include <tarvel/kest_conf.h>
#include <tarvel/string_bundle.h>
#include <tarvel/tarvel.h>

int main() {
  Tarvel request(true);
  char login[] = "login", common[] = "common";
  StringBundle texts(login, common, nullptr, nullptr, nullptr, nullptr);
  KestConf settings;
  char key[] = "timezone", utc[] = "UTC";

  Json::Value reply;
  reply["title"] = texts.Text("title", "Log in");
  reply["logout"] = texts.Text("logout", "Log out");
  reply["timezone"] = settings.Info(key, utc);
  reply["factory"] = settings.Def(key, utc);
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.WriteHeader(type);
  request.WriteBody(reply);
}
