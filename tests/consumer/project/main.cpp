// A program of somebody else's: everything it needs comes from the installed copy.
#include <tarvel/form_handler.h>
#include <tarvel/kest_conf.h>
#include <tarvel/string_bundle.h>

int main() {
  Tarvel request(true);
  FormValidator form;
  form.AddNumberField("port", 1, 65535);

  char key[] = "consumer_no_such_key", fallback[] = "fallback";
  KestConf settings;
  Json::Value reply;
  reply["valid"] = form.Validate(request);
  reply["setting"] = settings.Info(key, fallback);
  request.WriteBody(reply);
}
