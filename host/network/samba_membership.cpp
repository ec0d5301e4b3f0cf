#include "host/network/samba_membership.h"

#include <syslog.h>
#include <unistd.h>

#include <cerrno>

#include "host/klib/error_code.h"
#include "host/klib/key_value_line.h"
#include "host/klib/run_program.h"

namespace kest {
namespace {

constexpr int kTestparmSeconds = 10;
// It asks other machines.
constexpr int kNetSeconds = 20;

// Without what stands around it, quotes included: Samba does not count them.
std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kAround = " \t\r\"";
  const size_t first = text.find_first_not_of(kAround);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kAround) - first + 1);
}

DomainKind KindOf(std::string_view security, std::string_view role) {
  if (security == "ADS" || (security == "AUTO" && role == "member server")) return DomainKind::kActiveDirectory;
  return security == "DOMAIN" ? DomainKind::kWindowsNt : DomainKind::kNone;
}

}  // namespace

bool ParseMembership(std::string_view printed, Membership* out) {
  Membership found;
  std::string_view security, role;
  while (!printed.empty()) {
    const std::string_view line = TakeLine(&printed);
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string_view key = Trimmed(line.substr(0, equals)), value = Trimmed(line.substr(equals + 1));
    if (key == "workgroup") found.workgroup.assign(value);
    if (key == "realm") found.realm.assign(value);
    if (key == "security") security = value;
    if (key == "server role") role = value;
  }
  found.kind = KindOf(security, role);
  if (found.workgroup.empty() || security.empty()) return false;
  *out = found;
  return true;
}

int ReadMembership(const SambaPrograms& programs, Membership* out) {
  if (access(programs.configuration, F_OK) != 0) return FailWith(ErrorCodeOf(errno));
  // Without a question, with every default, the section of the machine itself. Its exit status also tells of mere
  // warnings: what counts is whether it printed a configuration.
  const char* const arguments[] = {programs.testparm,      "-s",   "-v", "--section-name=global",
                                   programs.configuration, nullptr};
  std::string printed;
  if (ReadProgram(arguments, kTestparmSeconds, &printed) < 0) return FailWith(ErrorCodeOf(errno));
  if (ParseMembership(printed, out)) return 0;
  syslog(LOG_ERR, "%s: testparm refuses it", programs.configuration);
  return FailWith(kErrorSystem);
}

int TestJoin(const SambaPrograms& programs, DomainKind kind) {
  if (kind != DomainKind::kActiveDirectory && kind != DomainKind::kWindowsNt) return FailWith(kErrorBadParameter);
  const char* const protocol = kind == DomainKind::kActiveDirectory ? "ads" : "rpc";
  const char* const arguments[] = {programs.net, protocol, "testjoin", nullptr};
  const int status = RunProgram(arguments, kNetSeconds);
  if (status < 0) return FailWith(ErrorCodeOf(errno));
  return status == 0 ? 0 : 1;
}

}  // namespace kest
