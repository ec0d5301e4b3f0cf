// Shares of any bytes: what an object makes of a record and its list texts, changes of lists, name, path and
// encryption, and what it gives back, against rules written a second time.
#include <algorithm>
#include <cstring>
#include <vector>

#include "record_fields.h"
#include "share.h"

// The directory of these runs takes everything and remembers the last of it.
extern "C" {
void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");
int Store(const char* existing, KESTSHARE* share, KESTCOPYARGS* move) __asm__("__wrap_KESTShareSet");
int Encrypt(int operation, _tag_KEST_SHARE_ENC_* request) __asm__("__wrap_KESTShareEncryptionAction");
int Covers(const char* user, const char* list) __asm__("__wrap_BlSDKUserIsInList");
}

namespace {

using Names = std::vector<std::string>;

struct Kept {
  std::string name, desc, path;
  Names lists[3];
  int attributes = 0, browseable = 0, restrictions = 0, encryption = 0;
};

Text stored_existing;
Kept stored;
std::string stored_lists[3];
bool stored_move = false;

bool IsSame(const std::string& a, const std::string& b) { return KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()) == 0; }

bool Has(const Names& names, const std::string& name) {
  return std::any_of(names.begin(), names.end(), [&](const std::string& other) { return IsSame(other, name); });
}

// In order, each once and in the spelling that came first.
void Add(Names& names, const std::string& name) {
  if (Has(names, name)) return;
  names.push_back(name);
  std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    return KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()) < 0;
  });
}

void Remove(Names& names, const std::string& name) {
  names.erase(std::remove_if(names.begin(), names.end(), [&](const std::string& other) { return IsSame(other, name); }),
              names.end());
}

Names Listed(const std::string& text) {
  Names names;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find(',', at), text.size());
    if (end > at) Add(names, text.substr(at, end - at));
    at = end + 1;
  }
  return names;
}

std::string Joined(const Names& names) {
  std::string text;
  for (size_t i = 0; i < names.size(); ++i) text += (i > 0 ? "," : "") + names[i];
  return text;
}

std::string VolumeOf(const std::string& path, size_t bytes) {
  const std::string cut = path.substr(0, bytes - 1);
  return cut.substr(0, cut.rfind('/'));
}

// Lists in the order of precedence: no access, read and write, read only.
enum List { kNa, kRw, kRo };

void Edit(SDK::Share& share, List list, bool add, const std::string& name) {
  if (list == kNa) add ? share.AddToNA(name) : share.RemoveFromNA(name);
  if (list == kRw) add ? share.AddToRW(name) : share.RemoveFromRW(name);
  if (list == kRo) add ? share.AddToRO(name) : share.RemoveFromRO(name);
}

void RequireSame(const SDK::Share& share, const Kept& kept, const std::string& asked) {
  Require(share.GetName() == kept.name && share.GetDesc() == kept.desc && share.GetFullPath() == kept.path);
  Require(share.GetStatus() == kept.encryption && share.GetFTPPrivilege() == kept.restrictions);
  Require(share.GetBrowseable() == (kept.browseable != 0));
  Require(share.InNA(asked) == Has(kept.lists[kNa], asked) && share.InRW(asked) == Has(kept.lists[kRw], asked));
  Require(share.InRO(asked) == Has(kept.lists[kRo], asked));
}

// The right that texts of lists give; Covers() says that a list covers whom it begins with.
int RightOf(const std::string (&lists)[3], const std::string& user) {
  constexpr int kRights[] = {4, 2, 1};
  for (const List list : {kNa, kRw, kRo}) {
    if (lists[list].rfind(user, 0) == 0) return kRights[list];
  }
  return 4;
}

struct Steps {
  std::string name;
  std::vector<std::string> taken;
  bool fails = false;
} steps;

std::string StepWith(int operation, int step, const std::string& passphrase) {
  return std::to_string(operation) + " " + std::to_string(step) + " " + passphrase.substr(0, 63);
}

void ChangeEncryption(SDK::Share& share, Kept& kept, int state, const std::string& passphrase, bool fails) {
  const int before = kept.encryption;
  steps = {kept.name.substr(0, 491), {}, fails};
  std::vector<std::string> expected;
  const bool is_kept = before == state || (before & 3) == 3;
  if (is_kept || state == 0) {
  } else if (before == 0) {
    expected = {StepWith(3, 2, passphrase), StepWith(3, 5, passphrase)};
  } else if ((state & 4) != 0) {
    expected = {StepWith(4, 3, "other " + passphrase), StepWith(3, 2, "other " + passphrase)};
  } else {
    expected = {StepWith(3, 4, "")};
  }
  const bool is_done = expected.empty() || !fails;
  if (fails && !expected.empty()) expected.resize(1);
  const bool crosses = before == 0 ? (state & 3) == 2 : (before & 3) == 2 && state == 0;
  Require(share.IsEncryptionChanged(state) == (crosses && before != state));
  Require(share.SetEncryption(state, passphrase, "other " + passphrase) == (is_done ? 1 : 0));
  Require(steps.taken == expected);
  if (is_done && !is_kept) kept.encryption = state;
}

void Save(SDK::Share& share, const Kept& kept, const std::string& loaded, bool moves, std::string (&lists)[3]) {
  Require(share.Save());
  Require(stored_existing == (loaded.empty() ? Text() : Text(loaded)) && stored_move == moves);
  Require(stored.name == kept.name && stored.desc == kept.desc && stored.path == kept.path);
  Require(stored.attributes == kept.attributes && stored.browseable == (kept.browseable != 0 ? 1 : 0));
  Require(stored.restrictions == kept.restrictions && stored.encryption == kept.encryption);
  for (const List list : {kNa, kRw, kRo}) Require(stored_lists[list] == (lists[list] = Joined(kept.lists[list])));
}

void CheckShare(FuzzInput& input) {
  Text texts[6];
  for (Text& text : texts) text = AnyText(input);
  KESTSHARE record = {Pointer(texts[0]), Pointer(texts[1]), Pointer(texts[2]), Pointer(texts[3]),
                      Pointer(texts[4]), Pointer(texts[5]), AnyNumber(input),  AnyNumber(input),
                      AnyNumber(input),  AnyNumber(input),  AnyNumber(input),  AnyNumber(input)};
  SDK::Share share(&record);
  const std::string loaded = texts[0].value_or("");
  Kept kept = {loaded,    texts[1].value_or(""), texts[2].value_or(""), {}, record.attr, record.browseable, record.ftp,
               record.enc};
  std::string lists[3];
  for (const List list : {kNa, kRw, kRo}) {
    lists[list] = texts[3 + list].value_or("");
    kept.lists[list] = Listed(lists[list]);
  }
  bool moves = false;
  RequireSame(share, kept, loaded);
  while (!input.Empty()) {
    const unsigned operation = input.Choice(8);
    const auto list = static_cast<List>(input.Choice(3));
    const bool flag = input.Choice(2) == 1;
    const int number = AnyNumber(input);
    const std::string text = input.TextLine();
    switch (operation) {
      case 0:
      case 1:
        Edit(share, list, flag, text);
        flag ? Add(kept.lists[list], text) : Remove(kept.lists[list], text);
        break;
      case 2:
        share.ChangeName(text);
        kept.path = VolumeOf(kept.path, 64) + "/" + text;
        kept.name = text;
        break;
      case 3:
        share.SetDesc(kept.desc = text);
        share.SetFTPPrivilege(kept.restrictions = number);
        share.SetBrowseable((kept.browseable = flag) != 0);
        break;
      case 4:
        ChangeEncryption(share, kept, number, text, flag);
        break;
      case 5: {
        KESTCOPYARGS move = {};
        share.SetMoveArgs(flag ? &move : nullptr);
        moves = moves || flag;
        break;
      }
      case 6: {
        std::string room(static_cast<size_t>(number & 63) + 1, '#');
        share.GetVolumePath(room.data(), static_cast<int>(room.size()));
        Require(room.c_str() == VolumeOf(kept.path, room.size()));
        break;
      }
      default:
        Save(share, kept, loaded, moves, lists);
    }
    RequireSame(share, kept, text);
    Require(share.GetAccessRight(text) == RightOf(lists, text));
  }
}

}  // namespace

void SilentSyslog(int, const char*, ...) {}

int Store(const char* existing, KESTSHARE* share, KESTCOPYARGS* move) {
  stored_existing = OptionalText(existing);
  stored = {share->name, share->desc, share->path, {}, share->attr, share->browseable, share->ftp, share->enc};
  stored_lists[kNa] = share->na;
  stored_lists[kRw] = share->rw;
  stored_lists[kRo] = share->ro;
  stored_move = move != nullptr;
  Require(share->zero1 == 0 && share->zero2 == 0);
  return 0;
}

int Encrypt(int operation, _tag_KEST_SHARE_ENC_* request) {
  _tag_KEST_SHARE_ENC_ rest = *request;
  Require(request->name == steps.name);
  steps.taken.push_back(StepWith(operation, request->step, request->pass));
  std::memset(rest.name, 0, std::strlen(rest.name));
  std::memset(rest.pass, 0, std::strlen(rest.pass));
  rest.step = 0;
  const _tag_KEST_SHARE_ENC_ nothing = {};
  Require(std::memcmp(&rest, &nothing, sizeof rest) == 0);
  return steps.fails ? -1 : 0;
}

int Covers(const char* user, const char* list) { return std::strncmp(user, list, std::strlen(user)) == 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  CheckShare(input);
  return 0;
}
