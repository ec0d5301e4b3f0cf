// A program of somebody else's: everything it needs comes from the installed copy.
#include <tarvel/form_handler.h>
#include <tarvel/group.h>
#include <tarvel/kest_conf.h>
#include <tarvel/string_bundle.h>

#include <set>

static_assert(__cplusplus >= 201703L, "the headers are C++17, whatever the project's own standard is");

int main() {
  Tarvel request(true);
  FormValidator form;
  form.AddNumberField("port", 1, 65535);

  char key[] = "consumer_no_such_key", fallback[] = "fallback";
  KestConf settings;
  const std::set<std::string, SDK::LTOBJ> names = {"bob", "Bob"};
  Json::Value reply;
  reply["valid"] = form.Validate(request);
  reply["setting"] = settings.Info(key, fallback);
  reply["names"] = static_cast<int>(names.size());
  request.WriteBody(reply);
}
