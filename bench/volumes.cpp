// What a list of volumes costs, for costs_table.py, on a platform whose answers cost nothing. The yardstick is a copy
// of the finished document.

// The platform's functions that are defined here are to be found by the library.
#pragma GCC visibility push(default)
#include "platform/kestcgi.h"
#include "platform/keststorage.h"
#pragma GCC visibility pop

#include <benchmark/benchmark.h>
#include <tarvel/volume.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kFew = 4, kMany = 64, kVeryMany = 1024;
constexpr uint64_t kFreeBytes = 1610612736, kTotalBytes = 4000000000;

std::vector<KESTMOUNTVOL> mounted;

void Mount(int count) {
  mounted.assign(static_cast<size_t>(count), {});
  for (int i = 0; i < count; ++i) {
    KESTMOUNTVOL& volume = mounted[static_cast<size_t>(i)];
    volume = {i + 1, KEST_VOL_INTERNAL, 1, "", 1, kFreeBytes, kTotalBytes, nullptr};
    std::snprintf(volume.path, sizeof volume.path, "/volume%d", i + 1);
    if (i > 0) mounted[static_cast<size_t>(i) - 1].next = &volume;
  }
}

int Volumes(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

void VolumeListGet(benchmark::State& state) {
  Mount(Volumes(state));
  Volume volumes;
  for (auto _ : state) {
    Json::Value result;
    volumes.VolumeListGet(result, true);
    if (result["volume_count"].asInt() != Volumes(state)) state.SkipWithError("not all volumes are listed");
  }
}

void Copy(benchmark::State& state) {
  Mount(Volumes(state));
  Volume volumes;
  Json::Value result;
  volumes.VolumeListGet(result, true);
  for (auto _ : state) {
    const Json::Value copy = result;
    benchmark::DoNotOptimize(&copy);
  }
}

BENCHMARK(Copy)->Arg(kFew)->Arg(kMany)->Arg(kVeryMany);
BENCHMARK(VolumeListGet)->Arg(kFew)->Arg(kMany)->Arg(kVeryMany);

}  // namespace

KESTMOUNTVOL* KESTMountVolAllEnum(int, int) { return mounted.data(); }
void KESTMountVolInfoFree(KESTMOUNTVOL*) {}
int FSIsMatchSkipFS(const char*, int) { return 0; }
int KestCgiInit(const char*, KESTCGI*) { return 0; }
void KestCgiFree(KESTCGI*) {}
int KestCgiLoadText(KESTCGI*, ...) { return 0; }
const char* KestCgiGetText(KESTCGI*, const char*, const char*) { return "Available"; }

BENCHMARK_MAIN();
