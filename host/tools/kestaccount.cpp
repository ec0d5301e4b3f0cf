// kestaccount: administration of the accounts of this machine.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "host/accounts/account_database.h"
#include "host/accounts/expiry.h"
#include "host/accounts/fold_name.h"
#include "host/accounts/password.h"

namespace kest {
namespace {

constexpr char kUsage[] =
    "usage: kestaccount add NAME [admin]        make an account\n"
    "       kestaccount passwd NAME             set its password; its sessions end\n"
    "       kestaccount disable|enable NAME     enable also removes an expiry date\n"
    "       kestaccount expire NAME YYYY/MM/DD  last day on which it is valid; \"\" for never\n"
    "       kestaccount admin NAME on|off       put it into the administrators' group, or out of it\n"
    "       kestaccount applications NAME LIST  those it may use, of file,audio,download,surveillance; \"\" for none\n"
    "       kestaccount remove NAME\n"
    "       kestaccount list                    name, uid, role, state and applications, separated by tabs\n"
    "Passwords are read from standard input: one line, 1 to 511 bytes.\n"
    "Exit status: 0 done, 1 refused (the reason is on standard error), 2 wrong usage, 3 the database failed.\n";

enum Exit { kDone = 0, kRefused = 1, kWrongUsage = 2, kBroken = 3 };

int Refuse(const char* why) {
  fprintf(stderr, "kestaccount: %s\n", why);
  return kRefused;
}

int Report(Lookup result, const char* refused) {
  if (result == Lookup::kFound) return kDone;
  if (result == Lookup::kAbsent) return Refuse(refused);
  fprintf(stderr, "kestaccount: %s failed\n", kAccountsPath);
  return kBroken;
}

// Keeps what is typed off the screen while it lives; nothing to do when standard input is no terminal.
class SilentTerminal {
 public:
  SilentTerminal() : silenced_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!silenced_) return;
    fputs("Password: ", stderr);
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
  }
  ~SilentTerminal() {
    if (!silenced_) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    fputc('\n', stderr);
  }

 private:
  termios before_;
  bool silenced_;
};

// The hash of the password on standard input; empty when that is none (the reason was printed).
std::string ReadHash() {
  SilentTerminal silence;
  char* line = nullptr;
  size_t room = 0;
  ssize_t length = getline(&line, &room, stdin);
  if (length > 0 && line[length - 1] == '\n') line[--length] = '\0';
  std::string hash;
  // A NUL byte would silently shorten the password.
  if (length > 0 && strlen(line) == static_cast<size_t>(length)) hash = HashPassword(line);
  if (line != nullptr) explicit_bzero(line, room);
  free(line);
  if (hash.empty()) Refuse("a password has 1 to 511 bytes, without NUL");
  return hash;
}

int Add(AccountDatabase& accounts, const char* name, const char* role) {
  if (role != nullptr && strcmp(role, "admin") != 0) return Refuse("the only role is \"admin\"");
  if (!IsAccountName(name)) return Refuse("no account may have this name");
  Account account;
  account.name = name;
  account.home = std::string("/var/services/homes/") + name;
  account.shell = "/sbin/nologin";
  account.administrator = role != nullptr;
  const std::string hash = ReadHash();
  return hash.empty() ? kRefused : Report(accounts.Add(account, hash), "the name is taken");
}

int SetPassword(AccountDatabase& accounts, const char* name, const char*) {
  const std::string hash = ReadHash();
  return hash.empty() ? kRefused : Report(accounts.SetPassword(name, hash), "no such account");
}

int Disable(AccountDatabase& accounts, const char* name, const char*) {
  return Report(accounts.SetExpireDay(name, kDisabledDay), "no such account");
}

int Enable(AccountDatabase& accounts, const char* name, const char*) {
  return Report(accounts.SetExpireDay(name, kNeverExpires), "no such account");
}

int Expire(AccountDatabase& accounts, const char* name, const char* date) {
  int day = 0;
  if (!DayOfDate(date, &day)) return Refuse("a date is written YYYY/MM/DD and lies after 1970/01/02");
  return Report(accounts.SetExpireDay(name, day), "no such account");
}

int SetAdministrator(AccountDatabase& accounts, const char* name, const char* state) {
  const bool on = strcmp(state, "on") == 0;
  if (!on && strcmp(state, "off") != 0) return Refuse("on or off");
  return Report(accounts.SetAdministrator(name, on), "no such account");
}

// The bits of "audio,file"; negative when a word is no application.
int BitsOf(const std::string& list) {
  int bits = 0;
  for (size_t start = 0; start < list.size();) {
    const size_t end = std::min(list.find(',', start), list.size());
    const std::string word = list.substr(start, end - start);
    const auto* known = std::find_if(std::begin(kApplications), std::end(kApplications),
                                     [&](const Application& application) { return word == application.name; });
    if (known == std::end(kApplications)) return -1;
    bits |= known->bit;
    start = end + 1;
  }
  return bits;
}

std::string ListOf(int bits) {
  std::string list;
  for (const Application& application : kApplications) {
    if ((bits & application.bit) != 0) list.append(list.empty() ? "" : ",").append(application.name);
  }
  return list;
}

int SetApplications(AccountDatabase& accounts, const char* name, const char* list) {
  const int bits = BitsOf(list);
  if (bits < 0) return Refuse("the applications are file, audio, download and surveillance");
  return Report(accounts.SetApplications(name, bits), "no such account");
}

int Remove(AccountDatabase& accounts, const char* name, const char*) {
  return Report(accounts.Remove(name), "no such account");
}

int List(AccountDatabase& accounts, const char*, const char*) {
  std::vector<Account> all;
  if (!accounts.List(&all)) return Report(Lookup::kFailed, "");
  for (const Account& account : all) {
    char date[16] = "disabled";
    DateOfDay(account.expire_day, date, sizeof(date));
    printf("%s\t%d\t%s\t%s%s\t%s\n", account.name.c_str(), account.uid,
           account.administrator ? "administrator" : "user", account.expire_day < 0 ? "valid" : date,
           IsExpiredDay(account.expire_day) && date[0] != 'd' ? " expired" : "", ListOf(account.privilege).c_str());
  }
  return kDone;
}

struct Command {
  const char* word;
  int least;  // words behind it
  int most;
  int (*run)(AccountDatabase&, const char* name, const char* argument);
};

constexpr Command kCommands[] = {
    {"add", 1, 2, Add},
    {"passwd", 1, 1, SetPassword},
    {"disable", 1, 1, Disable},
    {"enable", 1, 1, Enable},
    {"expire", 2, 2, Expire},
    {"admin", 2, 2, SetAdministrator},
    {"applications", 2, 2, SetApplications},
    {"remove", 1, 1, Remove},
    {"list", 0, 0, List},
};

int Run(int argc, char** argv) {
  for (const Command& command : kCommands) {
    if (argc < 2 || strcmp(argv[1], command.word) != 0 || argc - 2 < command.least || argc - 2 > command.most) continue;
    // Only "add" makes a database where there is none.
    auto accounts = command.run == Add ? AccountDatabase::OpenOrCreate() : AccountDatabase::Open();
    if (accounts == nullptr) return Report(Lookup::kFailed, "");
    return command.run(*accounts, argc > 2 ? argv[2] : nullptr, argc > 3 ? argv[3] : nullptr);
  }
  fputs(kUsage, stderr);
  return kWrongUsage;
}

}  // namespace
}  // namespace kest

int main(int argc, char** argv) {
  // What the database says about a failure goes to the terminal as well.
  openlog("kestaccount", LOG_PERROR, LOG_USER);
  return kest::Run(argc, argv);
}
