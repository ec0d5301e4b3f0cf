#include <tarvel/tarvel.h>

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  Json::Value reply;
  reply["hello"] = request.GetLoginUserName();
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.WriteHeader(type);
  request.WriteBody(reply);
}
