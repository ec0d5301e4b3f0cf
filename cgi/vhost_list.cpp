#include "vhost_list.h"

#include <fcntl.h>
#include <sys/file.h>
#include <tarvel/vhost.h>
#include <unistd.h>

#include "name_text.h"

namespace site {

namespace {

constexpr char kLock[] = "/tmp/tarvel/vhosts.lock";
constexpr const char* kTemporaryFiles[] = {"/usr/kest/etc/httpd-vhost.conf-user.tmp",
                                           "/usr/kest/etc/httpd-ssl-vhost.conf-user.tmp"};

// Hands the hosts to the library. It does not tell of a file that could not take the former one's place, and leaves its
// temporary files where they are; they would only take room.
bool Replace(Json::Value hosts) {
  bool is_whole = VHost::VHostInfoAllSet(hosts);
  for (const char* file : kTemporaryFiles) {
    if (unlink(file) == 0) is_whole = false;
  }
  return is_whole;
}

}  // namespace

Json::Value VHostList::Read() {
  Json::Value hosts(Json::arrayValue);
  VHost::VHostInfoAllGet(hosts);
  return hosts;
}

bool VHostList::TakeTurn() {
  lock_ = Descriptor(open(kLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!lock_.IsOpen() || flock(lock_.get(), LOCK_EX) != 0) return false;
  hosts_ = Read();
  return true;
}

Json::ArrayIndex VHostList::Find(const std::string& id) const {
  Json::ArrayIndex index = 0;
  while (index < hosts_.size() && IdOf(hosts_[index]) != id) ++index;
  return index;
}

std::string VHostList::IdOf(const Json::Value& host) {
  return std::to_string(host["vhosttype"].asInt()) + ":" + std::to_string(host["port"].asInt()) + ":" +
         AsUtf8(host["host"].asString());
}

const char* VHostList::Write(const Json::Value& hosts) {
  return Replace(hosts) ? nullptr : WriteBack("error_hosts_not_saved");
}

const char* VHostList::WriteBack(const char* failure) {
  return Read() == hosts_ || Replace(hosts_) || Read() == hosts_ ? failure : "error_hosts_partly";
}

}  // namespace site
