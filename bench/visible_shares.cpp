// What the list of shares that an account may open costs, for costs_table.py, on a platform whose answers about shares
// cost nothing; their folders are examined. The yardstick is a list with the same names, sorted.

// The platform's functions that are defined here are to be found by the library.
#pragma GCC visibility push(default)
#include "platform/kestdir.h"
#include "platform/klib.h"
#pragma GCC visibility pop

#include <benchmark/benchmark.h>
#include <tarvel/file_share.h>

#include <string>
#include <vector>

namespace {

constexpr int kFew = 10, kMany = 500;
constexpr int kNamesBytes = 1024;

std::vector<std::string> names;
std::vector<KESTSHARE> shares;
size_t next_share = 0;
char folder[] = "/usr/share";

void Share(int count) {
  names.clear();
  for (int i = 0; i < count; ++i) {
    names.push_back((i % 2 != 0 ? "Share " : "share ") + std::to_string((i * 7919LL) % 1000003));
  }
  shares.assign(names.size(), {});
  for (size_t i = 0; i < names.size(); ++i) {
    shares[i].name = names[i].data();
    shares[i].path = folder;
  }
}

int Shares(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

void WfmLibValidShareGen(benchmark::State& state) {
  Share(Shares(state));
  TarvelFileShare files;
  KESTUSER account = {};
  char user[] = "anna";
  for (auto _ : state) {
    const PSZLIST list = files.WfmLibValidShareGen(user, TRUE, TRUE, &account);
    if (SzKLIBSzListGet(list, Shares(state) - 1) == nullptr) state.SkipWithError("not all shares are listed");
    KLIBSzListFree(list);
  }
}

void Copy(benchmark::State& state) {
  Share(Shares(state));
  for (auto _ : state) {
    PSZLIST list = PslKLIBSzListAlloc(kNamesBytes);
    for (const std::string& name : names) KLIBSzListPush(&list, name.c_str());
    KLIBSzListSortItems(list, KLIB_SZLIST_SORT_NO_CASE);
    KLIBSzListFree(list);
  }
}

BENCHMARK(Copy)->Arg(kFew)->Arg(kMany);
BENCHMARK(WfmLibValidShareGen)->Arg(kFew)->Arg(kMany);

}  // namespace

KESTSHAREDB* KESTShareDBOpen(void) {
  next_share = 0;
  return reinterpret_cast<KESTSHAREDB*>(&next_share);
}
int KESTShareDBCursorGet(KESTSHAREDB*, KESTSHARE** slot) {
  if (next_share == shares.size()) return 1;
  *slot = &shares[next_share++];
  return 0;
}
int KESTShareDBClose(KESTSHAREDB*) { return 0; }
void KESTShareFree(KESTSHARE*) {}
// Read-only, so that all three lists are asked.
int BlSDKUserIsInList(const char*, const char*) {
  static int asked = 0;
  return ++asked % 3 == 0 ? 1 : 0;
}
int KLIBFileGetKeyValue(const char*, const char*, char* buf, int, int) {
  *buf = '\0';
  return 0;
}

BENCHMARK_MAIN();
