#include <tarvel/tarvel.h>

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ADMINISTRATION)) return 0;

  Json::Value record;
  const bool known = request.ReadModuleData("visits", record) && record.isObject() && record["count"].isInt();
  const int count = known ? record["count"].asInt() : 0;
  record = Json::Value(Json::objectValue);
  record["count"] = count < 1000000 ? count + 1 : count;
  request.WriteModuleData("visits", record);

  char type[] = "text/plain; charset=\"UTF-8\"";
  request.WriteHeader(type);
  request.WriteBody(record);
}
