// The web server of the sites, as the programs see it: it is asked to read the virtual hosts again, and tells what came
// of it.
#ifndef CGI_SITE_SERVER_H
#define CGI_SITE_SERVER_H

#include <set>
#include <string>
#include <utility>

namespace site {

struct SiteOutcome {
  bool is_known = false;                       ///< false: there is nobody to ask, or no answer
  bool is_refused = false;                     ///< the web server takes none of it, and serves what it served before
  std::set<int> closed;                        ///< ports that cannot be opened
  std::set<std::pair<int, std::string>> left;  ///< port and name of hosts that are left out

  bool Serves(int port, const std::string& name) const {
    return is_known && !is_refused && closed.count(port) == 0 && left.count({port, name}) == 0;
  }
};

/// Asks for the hosts to be read again, and waits until the outcome holds.
SiteOutcome ReloadSites();

/// What came of it the last time.
SiteOutcome LastSiteOutcome();

}  // namespace site

#endif  // CGI_SITE_SERVER_H
