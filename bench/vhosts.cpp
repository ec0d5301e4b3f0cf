// What reading and writing the files of virtual hosts costs, for costs_table.py; inside the appliance tree. The
// yardstick is a plain copy of the two files. Hosts share a few ports, as most do, so that the list of ports that the
// format asks for stays short; with a port for each host its search is all that grows.
#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <tarvel/vhost.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kFewPorts = 8;
constexpr int kFirstPort = 10000;
constexpr const char* kFiles[] = {"/usr/kest/etc/httpd-vhost.conf-user", "/usr/kest/etc/httpd-ssl-vhost.conf-user"};

Json::Value Hosts(int64_t count, int64_t ports) {
  Json::Value list(Json::arrayValue);
  for (int i = 0; i < count; ++i) {
    Json::Value& host = list.append(Json::Value());
    const std::string number = std::to_string(i);
    host["vhosttype"] = i % 2;
    host["port"] = kFirstPort + static_cast<int>(i % ports);
    host["host"] = "host" + number + ".example.org";
    host["folder"] = "site" + number;
  }
  return list;
}

// Folders are made here, so that what is measured meets them.
Json::Value Saved(const benchmark::State& state, int64_t ports) {
  constexpr mode_t kMode = 0755;
  mkdir("/var/services/web", kMode);
  Json::Value list = Hosts(state.range(0), ports);
  if (!VHost::VHostInfoAllSet(list)) std::abort();
  return list;
}

void Count(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * state.range(0)); }

void Write(benchmark::State& state, int64_t ports) {
  Json::Value list = Saved(state, ports);
  for (auto _ : state) {
    if (!VHost::VHostInfoAllSet(list)) std::abort();
  }
  Count(state);
}

void Read(benchmark::State& state, int64_t ports) {
  Saved(state, ports);
  for (auto _ : state) {
    Json::Value list(Json::arrayValue);
    if (VHost::VHostInfoAllGet(list) != state.range(0)) std::abort();
  }
  Count(state);
}

void VHostInfoAllSet(benchmark::State& state) { Write(state, kFewPorts); }
void VHostInfoAllSetOwnPorts(benchmark::State& state) { Write(state, state.range(0)); }
void VHostInfoAllGet(benchmark::State& state) { Read(state, kFewPorts); }
void VHostInfoAllGetOwnPorts(benchmark::State& state) { Read(state, state.range(0)); }

void CopyFile(const std::string& path, std::vector<char>& room) {
  const std::string copy = path + ".copy";
  FILE* const in = std::fopen(path.c_str(), "r");
  FILE* const out = std::fopen(copy.c_str(), "w");
  if (in == nullptr || out == nullptr) std::abort();
  while (const size_t got = std::fread(room.data(), 1, room.size(), in)) std::fwrite(room.data(), 1, got, out);
  std::fclose(in);
  if (std::fclose(out) != 0 || std::rename(copy.c_str(), path.c_str()) != 0) std::abort();
}

void Copy(benchmark::State& state) {
  constexpr size_t kRoom = 4096;
  Saved(state, kFewPorts);
  std::vector<char> room(kRoom);
  for (auto _ : state) {
    for (const char* path : kFiles) CopyFile(path, room);
  }
  Count(state);
}

BENCHMARK(Copy)->RangeMultiplier(10)->Range(10, 10000);
BENCHMARK(VHostInfoAllGet)->RangeMultiplier(10)->Range(10, 10000);
BENCHMARK(VHostInfoAllGetOwnPorts)->RangeMultiplier(10)->Range(10, 10000);
BENCHMARK(VHostInfoAllSet)->RangeMultiplier(10)->Range(10, 10000);
BENCHMARK(VHostInfoAllSetOwnPorts)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace

BENCHMARK_MAIN();
