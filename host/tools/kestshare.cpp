// kestshare: administration of the shared folders of this machine.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include "host/tools/silent_terminal.h"
#include "platform/kestdir.h"

namespace {

constexpr char kUsage[] =
    "usage: kestshare add NAME PATH [rw LIST] [ro LIST] [na LIST] [description TEXT] [restrictions N]\n"
    "                                      make a share; its folder is made as well, or taken as it is\n"
    "       kestshare set NAME [rw LIST] [ro LIST] [na LIST] [description TEXT] [restrictions N]\n"
    "       kestshare list                 name, path, rw, ro, na, restrictions and encryption, separated by tabs\n"
    "       kestshare recover              end what a killed process has left half done\n"
    "       kestshare open NAME            mount an encrypted share; the passphrase is read from standard input\n"
    "       kestshare open-stored          mount all whose keys are stored\n"
    "A LIST is names separated by \",\"; \"@NAME\" is a group.\n"
    "Exit status: 0 done, 1 refused (the reason is on standard error), 2 wrong usage.\n";

enum Exit { kDone = 0, kRefused = 1, kWrongUsage = 2 };

struct FreeShare {
  void operator()(KESTSHARE* share) const { KESTShareFree(share); }
};
using ShareRecord = std::unique_ptr<KESTSHARE, FreeShare>;

ShareRecord Load(const char* name) {
  KESTSHARE* slot = nullptr;
  KESTShareGet(name, &slot);
  return ShareRecord(slot);
}

const char* WhyNot(int code) {
  switch (code) {
    case 0x300:
      return "denied";
    case 0x600:
      return "the share, its volume or a name in a list is not there";
    case 0x700:
      return "the name or the folder is taken";
    case 0xD00:
      return "not a name or a folder that a share may have";
    case 0x1600:
      return "somebody else is changing it";
    case 0x2D00:
      return "the passphrase does not fit";
    case 0x3000:
      return "this machine cannot do it";
    case 0x2900:
      return "no space left";
    default:
      return "failed; the reason is in the system log";
  }
}

int Refuse() {
  fprintf(stderr, "kestshare: %s (0x%04X)\n", WhyNot(KLIBErrGet()), static_cast<unsigned>(KLIBErrGet()));
  return kRefused;
}

// The transfer restrictions: a number from 0 to 7.
bool IsRestrictions(const std::string& text) { return text.size() == 1 && text[0] >= '0' && text[0] <= '7'; }

// Puts the pairs of words into the record; the record borrows their texts.
bool Put(char** words, int count, KESTSHARE* share) {
  for (int i = 0; i + 1 < count; i += 2) {
    const std::string word = words[i];
    if (word == "rw") {
      share->rw = words[i + 1];
    } else if (word == "ro") {
      share->ro = words[i + 1];
    } else if (word == "na") {
      share->na = words[i + 1];
    } else if (word == "description") {
      share->desc = words[i + 1];
    } else if (word == "restrictions" && IsRestrictions(words[i + 1])) {
      share->ftp = atoi(words[i + 1]);
    } else {
      return false;
    }
  }
  return count % 2 == 0;
}

int WrongUsage() {
  fputs(kUsage, stderr);
  return kWrongUsage;
}

int Add(char** words, int count) {
  KESTSHARE share = {};
  if (count < 2 || !Put(words + 2, count - 2, &share)) return WrongUsage();
  share.name = words[0];
  share.path = words[1];
  share.attr = 2;
  share.browseable = 1;
  return KESTShareSet(nullptr, &share, nullptr) < 0 ? Refuse() : kDone;
}

int Set(char** words, int count) {
  if (count < 1) return WrongUsage();
  const ShareRecord stored = Load(words[0]);
  if (stored == nullptr) return Refuse();
  KESTSHARE share = *stored;
  if (!Put(words + 1, count - 1, &share)) return WrongUsage();
  return KESTShareSet(words[0], &share, nullptr) < 0 ? Refuse() : kDone;
}

int List(char**, int) {
  KESTSHAREDB* const walk = KESTShareDBOpen();
  if (walk == nullptr) return Refuse();
  KESTSHARE* slot = nullptr;
  while (KESTShareDBCursorGet(walk, &slot) == 0) {
    printf("%s\t%s\t%s\t%s\t%s\t%d\t%d\n", slot->name, slot->path, slot->rw, slot->ro, slot->na, slot->ftp, slot->enc);
  }
  KESTShareDBClose(walk);
  KESTShareFree(slot);
  return kDone;
}

// Whoever reads the shares ends what was left of a change.
int Recover(char**, int) {
  KESTSHAREDB* const walk = KESTShareDBOpen();
  if (walk == nullptr) return Refuse();
  KESTShareDBClose(walk);
  return kDone;
}

int Open(const char* name, const char* passphrase) {
  _tag_KEST_SHARE_ENC_ request = {};
  snprintf(request.name, sizeof(request.name), "%s", name);
  snprintf(request.pass, sizeof(request.pass), "%s", passphrase);
  request.step = KEST_SHARE_ENC_START;
  const int result = KESTShareEncryptionAction(3, &request);
  explicit_bzero(&request, sizeof(request));
  return result != 0 ? Refuse() : kDone;
}

int OpenOne(char** words, int count) {
  char line[66] = "";
  const ShareRecord share = count == 1 ? Load(words[0]) : nullptr;
  if (count != 1) return WrongUsage();
  if (share == nullptr) return Refuse();
  // Anything else would begin to encrypt it.
  if ((share->enc & 2) == 0) {
    fputs("kestshare: the share is not encrypted\n", stderr);
    return kRefused;
  }
  {
    const kest::SilentTerminal silence("Passphrase: ");
    if (fgets(line, sizeof(line), stdin) == nullptr) return WrongUsage();
  }
  line[strcspn(line, "\n")] = '\0';
  const int result = Open(words[0], line);
  explicit_bzero(line, sizeof(line));
  return result;
}

int OpenStored(char**, int) {
  KESTSHAREDB* const walk = KESTShareDBOpen();
  if (walk == nullptr) return Refuse();
  KESTSHARE* slot = nullptr;
  int result = kDone;
  while (KESTShareDBCursorGet(walk, &slot) == 0) {
    if ((slot->enc & 7) == 7 && Open(slot->name, "") != kDone) result = kRefused;
  }
  KESTShareDBClose(walk);
  KESTShareFree(slot);
  return result;
}

struct Command {
  const char* word;
  int (*run)(char** words, int count);
};

constexpr Command kCommands[] = {{"add", Add},         {"set", Set},      {"list", List},
                                 {"recover", Recover}, {"open", OpenOne}, {"open-stored", OpenStored}};

}  // namespace

int main(int argc, char** argv) {
  openlog("kestshare", LOG_PERROR, LOG_USER);
  for (const Command& command : kCommands) {
    if (argc >= 2 && strcmp(argv[1], command.word) == 0) return command.run(argv + 2, argc - 2);
  }
  return WrongUsage();
}
