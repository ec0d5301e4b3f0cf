#ifndef KEST_HOST_NETWORK_SAMBA_MEMBERSHIP_H_
#define KEST_HOST_NETWORK_SAMBA_MEMBERSHIP_H_

#include <string>
#include <string_view>

namespace kest {

// Samba's own programs: nobody else knows how its configuration is read, with its includes, defaults and spellings.
struct SambaPrograms {
  const char* testparm = "/usr/bin/testparm";
  const char* net = "/usr/bin/net";
  const char* configuration = "/etc/samba/smb.conf";
};

enum class DomainKind { kNone = 0, kActiveDirectory = 1, kWindowsNt = 2 };

// What the configuration says of the machine's domain, whether or not it has joined.
struct Membership {
  std::string workgroup;  // the domain's short name, or the workgroup's
  std::string realm;      // of Active Directory; may be empty
  DomainKind kind = DomainKind::kNone;
};

// Takes it out of what testparm prints. False when it printed no configuration.
bool ParseMembership(std::string_view printed, Membership* out);

// @return 0; negative on failure, with `out` untouched: no such object without Samba or its configuration, a system
//         failure (logged) for one that Samba refuses
int ReadMembership(const SambaPrograms& programs, Membership* out);

// Asks the domain whether the machine is a member.
// @return 0 when it is, 1 when it is not; negative when that cannot be asked
int TestJoin(const SambaPrograms& programs, DomainKind kind);

}  // namespace kest

#endif  // KEST_HOST_NETWORK_SAMBA_MEMBERSHIP_H_
