// time_zones.cgi: the time zones that the appliance knows, for the form "General".
//
//   GET   {"data": {"time_zones": ["UTC", "Africa/Abidjan", ...]}, "success": true}
#include <tarvel/tarvel.h>
#include <tarvel/webutils.h>

#include <string>

#include "reply.h"
#include "who.h"

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  Json::Value data;
  data["time_zones"] = Json::Value(Json::arrayValue);
  for (const std::string& zone : WebUtils::EnumTimeZones()) data["time_zones"].append(zone);
  return site::Succeed(request, data);
}
