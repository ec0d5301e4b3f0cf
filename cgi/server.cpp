// server.cgi: what the appliance is called in the network, and whether it belongs to a Windows domain.
//
//   GET   {"data": {"name": "nas", "domain": "OFFICE", "membership": "joined"}, "success": true}
//
// "membership" is "none" without a domain, "joined", or "not_joined" when the settings name a domain that does not
// confirm it. To be asked apart from what a page needs at once: the domain may take its time.
#include <tarvel/tarvel.h>
#include <tarvel/webutils.h>

#include <string>

#include "name_text.h"
#include "reply.h"
#include "who.h"

namespace {

const char* MembershipIn(const std::string& domain) {
  if (domain.empty()) return "none";
  std::string asked;
  return WebUtils::IsJoinDomain(asked) ? "joined" : "not_joined";
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const std::string domain = WebUtils::GetDomainName();
  Json::Value data;
  data["name"] = site::AsUtf8(WebUtils::GetServerName());
  data["domain"] = site::AsUtf8(domain);
  data["membership"] = MembershipIn(domain);
  return site::Succeed(request, data);
}
