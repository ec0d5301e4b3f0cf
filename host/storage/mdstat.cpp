#include "host/storage/mdstat.h"

#include <algorithm>
#include <cerrno>
#include <string>

#include "host/klib/error_code.h"
#include "host/klib/key_value_line.h"
#include "host/storage/kernel_file.h"

namespace kest {
namespace {

std::string_view TakeWord(std::string_view* rest) {
  rest->remove_prefix(std::min(rest->find_first_not_of(" \t"), rest->size()));
  const std::string_view word = rest->substr(0, rest->find_first_of(" \t"));
  rest->remove_prefix(word.size());
  return word;
}

bool BeginsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

// A decimal number of at most four digits; -1 for anything else.
int SmallNumber(std::string_view digits) {
  if (digits.empty() || digits.size() > 4) return -1;
  int number = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return -1;
    number = number * 10 + (c - '0');
  }
  return number;
}

// One array: "md0 : active raid1 sdb1[1] sda1[0](F)" and the lines below it.
struct Array {
  bool active = false;
  bool has_faulty = false;
  std::string_view level;
  std::string_view disks;  // "U" for each that works, "_" for each that does not; "" when the kernel does not say
  int copies = 2;          // RAID 10
  bool near = true;        // RAID 10: the copies of a block lie on neighbours
};

bool ParseHead(std::string_view line, Array* array) {
  const std::string_view state = TakeWord(&line);
  array->active = state == "active";
  if (!array->active) return state == "inactive";
  array->level = TakeWord(&line);
  while (!array->level.empty() && array->level[0] == '(') array->level = TakeWord(&line);  // "(read-only)"
  array->has_faulty = line.find("(F)") != std::string_view::npos;
  return !array->level.empty();
}

// "[3/2]" followed by "[UU_]".
bool ParseDisks(std::string_view count, std::string_view disks, Array* array) {
  const size_t slash = count.find('/');
  if (count.front() != '[' || count.back() != ']' || slash == std::string_view::npos) return false;
  const int wanted = SmallNumber(count.substr(1, slash - 1));
  const int working = SmallNumber(count.substr(slash + 1, count.size() - slash - 2));
  if (wanted < 1 || working < 0 || working > wanted) return false;
  if (static_cast<size_t>(wanted) + 2 != disks.size() || disks.back() != ']') return false;
  array->disks = disks.substr(1, disks.size() - 2);
  return array->disks.find_first_not_of("U_") == std::string_view::npos;
}

bool ParseDetails(std::string_view line, Array* array) {
  std::string_view before;
  while (true) {
    const std::string_view word = TakeWord(&line);
    if (word.empty()) return true;
    if (word == "near-copies" || word == "far-copies" || word == "offset-copies") {
      array->copies = SmallNumber(before);
      array->near = word == "near-copies";
    }
    if (word[0] == '[' && word.find_first_not_of("[U_]") == std::string_view::npos) {
      return before.empty() || ParseDisks(before, word, array);
    }
    before = word;
  }
}

int Missing(const Array& array) { return static_cast<int>(std::count(array.disks.begin(), array.disks.end(), '_')); }

// Whether every copy of some block is missing: so many neighbours in a row, counted in a circle; with near copies on a
// number of disks that they divide, the rows begin at fixed places.
bool LacksACopy(const Array& array) {
  const size_t count = array.disks.size();
  const size_t copies = static_cast<size_t>(std::max(array.copies, 1));
  const size_t step = array.near && count % copies == 0 ? copies : 1;
  for (size_t first = 0; first < count; first += step) {
    size_t missing = 0;
    while (missing < copies && array.disks[(first + missing) % count] == '_') ++missing;
    if (missing == copies) return true;
  }
  return false;
}

bool Works(const Array& array) {
  if (!array.active) return false;
  if (array.disks.empty()) return !array.has_faulty;
  if (array.level == "raid10") return !LacksACopy(array);
  if (array.level == "raid1") return Missing(array) < static_cast<int>(array.disks.size());
  if (array.level == "raid4" || array.level == "raid5") return Missing(array) <= 1;
  if (array.level == "raid6") return Missing(array) <= 2;
  return Missing(array) == 0;
}

KEST_RAID_STATE StateOf(const Array& array) {
  if (!Works(array)) return KEST_RAID_CRASHED;
  return Missing(array) == 0 ? KEST_RAID_NORMAL : KEST_RAID_DEGRADED;
}

}  // namespace

bool FindArray(std::string_view mdstat, std::string_view name, KEST_RAID_STATE* state) {
  if (!BeginsWith(mdstat, "Personalities :")) return false;
  const std::string head = std::string(name) + " : ";
  while (!mdstat.empty() && !BeginsWith(mdstat, head)) TakeLine(&mdstat);
  if (mdstat.empty()) {
    *state = KEST_RAID_NONE;
    return true;
  }
  Array array;
  if (!ParseHead(TakeLine(&mdstat).substr(head.size()), &array)) return false;
  while (!mdstat.empty() && (mdstat[0] == ' ' || mdstat[0] == '\t')) {
    if (!ParseDetails(TakeLine(&mdstat), &array)) return false;
  }
  *state = StateOf(array);
  return true;
}

int ReadSystemArrays(const char* path, _tag_raid_for_system_* raid) {
  std::string mdstat;
  if (!ReadKernelFile(path, &mdstat)) return FailWith(ErrorCodeOf(errno));
  _tag_raid_for_system_ read = {};
  for (int i = 0; i < 2; ++i) {
    KEST_RAID_STATE state;
    if (!FindArray(mdstat, kSystemArrays[i], &state)) return FailWith(kErrorSystem);
    read.entry[i].state = state;
  }
  *raid = read;
  return 0;
}

}  // namespace kest
