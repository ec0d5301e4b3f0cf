#include <tarvel/tarvel.h>

int main() {
  Tarvel request(true);
  Json::Value reply;
  if (const Json::Value* document = request.In()) {
    // The body was JSON, of whatever type: look before reading members.
    reply["name"] = document->isObject() ? (*document)["name"] : Json::Value();
  } else {
    // Anything else is decoded as a form; the second argument stands for an absent field.
    reply["name"] = request.In("name", "nobody");
  }
  reply["language"] = request.GetUILanguage();
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.AddHeader("Cache-Control", "no-store");
  request.WriteHeader(type);
  request.WriteBody(reply);
}
