// kestaccount: administration of the accounts of this machine.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "host/accounts/account_database.h"
#include "host/accounts/account_name.h"
#include "host/accounts/expiry.h"
#include "host/accounts/home_move.h"
#include "host/accounts/password.h"
#include "host/groups/group_store.h"
#include "host/klib/error_code.h"
#include "host/tools/silent_terminal.h"
#include "platform/kestdir.h"

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
    "       kestaccount load                    makes an account without a password of each line of standard input: "
    "name,\n"
    "                                           description and mail address, separated by tabs; all of them or none\n"
    "       kestaccount groupadd NAME [TEXT]    make a group with this description\n"
    "       kestaccount groupdel NAME\n"
    "       kestaccount join|leave NAME GROUP   put an account into a group, or take it out\n"
    "       kestaccount groups                  name, gid, number of members and description, separated by tabs\n"
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

// The hash of the password on standard input; empty when that is none (the reason was printed).
std::string ReadHash() {
  const SilentTerminal silence("Password: ");
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

bool MayBeCalled(const std::string& name) { return IsDirectoryName(name) && !IsSystemAccount(name); }

int Add(AccountDatabase& accounts, const char* name, const char* role) {
  if (role != nullptr && strcmp(role, "admin") != 0) return Refuse("the only role is \"admin\"");
  if (!MayBeCalled(name)) return Refuse("no account may have this name");
  Account account;
  account.name = name;
  account.home = UsualHome(name);
  account.shell = kUsualShell;
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

// The next field of a line that ends at a tab; what is behind it stays.
std::string TakeField(std::string* line) {
  const size_t end = std::min(line->find('\t'), line->size());
  std::string field = line->substr(0, end);
  line->erase(0, end + 1);
  return field;
}

// The next line of standard input, without its end.
bool ReadLine(std::string* line) {
  char* text = nullptr;
  size_t room = 0;
  const ssize_t length = getline(&text, &room, stdin);
  if (length > 0) line->assign(text, static_cast<size_t>(length - (text[length - 1] == '\n' ? 1 : 0)));
  free(text);
  return length > 0;
}

// Whether the line is an account that can be stored.
bool ReadAccount(std::string line, Account* account) {
  account->name = TakeField(&line);
  account->description = TakeField(&line);
  account->email = TakeField(&line);
  account->home = UsualHome(account->name);
  account->shell = kUsualShell;
  return line.empty() && MayBeCalled(account->name) && IsText(account->description) && IsLine(account->email);
}

int Load(AccountDatabase& accounts, const char*, const char*) {
  std::vector<Account> all;
  for (std::string line; ReadLine(&line);) {
    if (!ReadAccount(line, &all.emplace_back())) {
      fprintf(stderr, "kestaccount: line %zu is no account; none was made\n", all.size());
      return kRefused;
    }
  }
  size_t added = 0;
  const Lookup result = accounts.AddAll(all, &added);
  if (result == Lookup::kAbsent) fprintf(stderr, "kestaccount: line %zu; none was made\n", added + 1);
  return Report(result, "the name is taken");
}

int ReportGroup(int result) {
  switch (result) {
    case 0:
      return kDone;
    case -kErrorNoSuchObject:
      return Refuse("no such group or account");
    case -kErrorTaken:
      return Refuse("the name is taken");
    case -kErrorBadParameter:
      return Refuse("not with this group, or with this name or text");
    case -kErrorDenied:
      return Refuse("this group stays");
    case -kErrorBusy:
      return Refuse("somebody else is changing accounts or groups; nothing was changed");
    default:
      return Report(Lookup::kFailed, "");
  }
}

int AddGroup(AccountDatabase& accounts, const char* name, const char* text) {
  std::string copy = name;
  KESTGROUP group = {};
  group.name = copy.data();
  group.gid = -1;
  const std::string description = text == nullptr ? "" : text;
  if (!IsText(description)) return ReportGroup(-kErrorBadParameter);
  bool changed = false;
  const int saved = SaveGroup(accounts.database(), nullptr, group, &changed);
  return ReportGroup(saved != 0 ? saved : WriteGroupDescription(accounts.database(), name, description));
}

int RemoveOneGroup(AccountDatabase& accounts, const char* name, const char*) {
  return ReportGroup(RemoveGroup(accounts.database(), name));
}

int Join(AccountDatabase& accounts, const char* name, const char* group) {
  return ReportGroup(SetMember(accounts.database(), group, name, true));
}

int Leave(AccountDatabase& accounts, const char* name, const char* group) {
  return ReportGroup(SetMember(accounts.database(), group, name, false));
}

int ListGroups(AccountDatabase& accounts, const char*, const char*) {
  Statement groups(accounts.database(),
                   "SELECT name, gid, (SELECT count(*) FROM members m WHERE m.gid = g.gid), description FROM groups g"
                   " ORDER BY folded");
  while (groups.Row()) {
    printf("%s\t%d\t%d\t%s\n", groups.Text(0).c_str(), groups.Int(1), groups.Int(2), groups.Text(3).c_str());
  }
  return groups.failed() ? Report(Lookup::kFailed, "") : kDone;
}

struct Command {
  const char* word;
  int least;  // words behind it
  int most;
  int (*run)(AccountDatabase&, const char* name, const char* argument);
  bool changes_members = false;
};

constexpr Command kCommands[] = {
    {"add", 1, 2, Add, true},
    {"passwd", 1, 1, SetPassword},
    {"disable", 1, 1, Disable},
    {"enable", 1, 1, Enable},
    {"expire", 2, 2, Expire},
    {"admin", 2, 2, SetAdministrator, true},
    {"applications", 2, 2, SetApplications},
    {"remove", 1, 1, Remove},
    {"list", 0, 0, List},
    {"load", 0, 0, Load},
    {"groupadd", 1, 2, AddGroup},
    {"groupdel", 1, 1, RemoveOneGroup, true},
    {"join", 2, 2, Join, true},
    {"leave", 2, 2, Leave, true},
    {"groups", 0, 0, ListGroups},
};

// Folders from which a group is shut out name its members: whoever reads the shares brings them up to date. With no
// connection of this program's own open: the library has another copy of SQLite, and of two that have one file open the
// first to close it takes the other's locks away.
void RenderFolders() { KESTShareDBClose(KESTShareDBOpen()); }

int Run(int argc, char** argv) {
  for (const Command& command : kCommands) {
    if (argc < 2 || strcmp(argv[1], command.word) != 0 || argc - 2 < command.least || argc - 2 > command.most) continue;
    // Only "add" and "load" make a database where there is none.
    const bool makes = command.run == Add || command.run == Load;
    auto accounts = makes ? AccountDatabase::OpenOrCreate() : AccountDatabase::Open();
    if (accounts == nullptr) return Report(Lookup::kFailed, "");
    // Nobody gets a name at which another one's home has been left.
    RecoverHomes(accounts->database());
    const int result = command.run(*accounts, argc > 2 ? argv[2] : nullptr, argc > 3 ? argv[3] : nullptr);
    accounts.reset();
    if (result == kDone && command.changes_members) RenderFolders();
    return result;
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
