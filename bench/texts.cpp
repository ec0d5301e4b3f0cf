// What filling templates in and escaping, splitting and joining of texts cost, for costs_table.py. The yardstick of
// each is one copy of the same bytes.
#include <benchmark/benchmark.h>
#include <tarvel/template.h>
#include <tarvel/webutils.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int64_t kSmallBytes = 1024, kMiddleBytes = 64 * 1024, kLargeBytes = 1024 * 1024;

std::string Repeated(const std::string& piece, size_t bytes) {
  std::string text;
  while (text.size() < bytes) text += piece;
  text.resize(bytes);
  return text;
}

// One "&", "<" or ">" in each 50 bytes and a blank in each six or so, as in a sentence about a file.
std::string Prose(size_t bytes) { return Repeated("the folder of photos & films is on <volume1> now, ", bytes); }

std::string List(size_t bytes) { return Repeated("somebody,anna,video-group,", bytes); }

size_t Bytes(const benchmark::State& state) { return static_cast<size_t>(state.range(0)); }

void Count(benchmark::State& state) { state.SetBytesProcessed(state.iterations() * state.range(0)); }

void Copy(benchmark::State& state) {
  const std::string text = Prose(Bytes(state));
  std::string copy(text.size(), '\0');
  for (auto _ : state) {
    std::memcpy(copy.data(), text.data(), text.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  Count(state);
}

void ApplyValues(benchmark::State& state) {
  const std::string line = "{name}" + std::string(93, '.') + "\n";
  WebUtils::Template page(Repeated(line, Bytes(state)).c_str());
  Json::Value values;
  values["name"] = "somebody";
  for (auto _ : state) benchmark::DoNotOptimize(page.ApplyValues(values));
  Count(state);
}

void EncodeHtml(benchmark::State& state) {
  const std::string text = Prose(Bytes(state));
  for (auto _ : state) benchmark::DoNotOptimize(WebUtils::EncodeHtml(text, false));
  Count(state);
}

void EncodeHtmlNbsp(benchmark::State& state) {
  const std::string text = Prose(Bytes(state));
  for (auto _ : state) benchmark::DoNotOptimize(WebUtils::EncodeHtml(text, true));
  Count(state);
}

void StringExplode(benchmark::State& state) {
  const std::string text = List(Bytes(state));
  for (auto _ : state) benchmark::DoNotOptimize(WebUtils::StringExplode(text, ","));
  Count(state);
}

void StringImplode(benchmark::State& state) {
  const std::vector<std::string> items = WebUtils::StringExplode(List(Bytes(state)), ",");
  for (auto _ : state) benchmark::DoNotOptimize(WebUtils::StringImplode(items, ","));
  Count(state);
}

BENCHMARK(ApplyValues)->Arg(kSmallBytes)->Arg(kMiddleBytes)->Arg(kLargeBytes);
BENCHMARK(Copy)->Arg(kSmallBytes)->Arg(kMiddleBytes)->Arg(kLargeBytes);
BENCHMARK(EncodeHtml)->Arg(kSmallBytes)->Arg(kMiddleBytes)->Arg(kLargeBytes);
BENCHMARK(EncodeHtmlNbsp)->Arg(kSmallBytes)->Arg(kMiddleBytes)->Arg(kLargeBytes);
BENCHMARK(StringExplode)->Arg(kSmallBytes)->Arg(kMiddleBytes)->Arg(kLargeBytes);
BENCHMARK(StringImplode)->Arg(kSmallBytes)->Arg(kMiddleBytes)->Arg(kLargeBytes);

}  // namespace

BENCHMARK_MAIN();
