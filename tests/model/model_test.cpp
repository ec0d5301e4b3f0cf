// Random sequences of operations on accounts, groups and shares, through the library on the platform and on a plain
// model. Each sequence runs in a process of its own, on a directory as it was at first. One that differs is made as
// short as possible and told.
//
//   MODEL_SEED    the first seed (default: 1); MODEL_SEEDS how many (default: 4)
//   MODEL_STEPS   steps of each sequence (default: 1000)
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "steps.h"

namespace {

namespace fs = std::filesystem;

using Sequence = std::vector<model::Step>;

constexpr char kDirectory[] = "/usr/kest/etc", kFirst[] = "/tmp/first", kVolume[] = "/volume1";
constexpr int kSame = 0, kDiffers = 1, kBroken = 2;
constexpr unsigned kSeconds = 300;

unsigned Setting(const char* name, unsigned otherwise) {
  const char* const text = std::getenv(name);
  return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

bool IsDatabase(const fs::path& path) { return path.filename().string().rfind("accounts.db", 0) == 0; }

void Copy(const char* from, const char* to) {
  fs::create_directories(to);
  for (const auto& entry : fs::directory_iterator(to)) {
    if (IsDatabase(entry)) fs::remove(entry);
  }
  for (const auto& entry : fs::directory_iterator(from)) {
    if (IsDatabase(entry)) fs::copy(entry, fs::path(to) / entry.path().filename());
  }
}

// A directory with one account and without shares, which each sequence begins with.
bool MakeDirectory() {
  FILE* const tool = popen("/usr/kest/bin/kestaccount add admin admin", "w");
  if (tool == nullptr || std::fputs("a password\n", tool) < 0 || pclose(tool) != 0) return false;
  Copy(kDirectory, kFirst);
  return true;
}

void BeginAgain() {
  Copy(kFirst, kDirectory);
  for (const auto& entry : fs::directory_iterator(kVolume)) fs::remove_all(entry);
}

Sequence Random(unsigned seed, unsigned steps) {
  std::mt19937 random(seed);
  Sequence sequence;
  for (unsigned i = 0; i < steps; ++i) {
    // One after the other: the order of arguments is nobody's.
    model::Step step = {};
    for (unsigned* number : {&step.kind, &step.slot, &step.a, &step.b}) *number = static_cast<unsigned>(random());
    sequence.push_back(step);
  }
  return sequence;
}

int Follow(const Sequence& sequence, bool tell) {
  try {
    model::World world;
    for (const model::Step& step : sequence) {
      world.Take(step);
      if (tell && !world.told().empty()) std::fprintf(stderr, "  %s\n", world.told().c_str());
    }
    world.CompareAll();
    return kSame;
  } catch (const model::Difference& difference) {
    if (tell) std::fprintf(stderr, "  %s\n", difference.what.c_str());
    return kDiffers;
  }
}

// Whether the sequence comes out as it should, in a process of its own.
bool IsSame(const Sequence& sequence, bool tell) {
  BeginAgain();
  const pid_t child = fork();
  if (child == 0) {
    alarm(kSeconds);
    std::exit(Follow(sequence, tell));
  }
  int status = kBroken;
  waitpid(child, &status, 0);
  if (tell && WIFSIGNALED(status)) std::fprintf(stderr, "  ended by signal %d\n", WTERMSIG(status));
  return status == kSame;
}

// The same without whatever it does not take to differ: halves, quarters and so on are left out.
Sequence Shortened(Sequence sequence) {
  for (size_t piece = sequence.size() / 2; piece > 0; piece = piece == 1 ? 0 : (piece + 1) / 2) {
    for (size_t at = 0; at < sequence.size();) {
      Sequence without(sequence.begin(), sequence.begin() + static_cast<std::ptrdiff_t>(at));
      const size_t rest = std::min(at + piece, sequence.size());
      without.insert(without.end(), sequence.begin() + static_cast<std::ptrdiff_t>(rest), sequence.end());
      if (IsSame(without, false)) {
        at += piece;
      } else {
        sequence = without;
      }
    }
  }
  return sequence;
}

}  // namespace

int main() {
  if (!MakeDirectory()) {
    std::fprintf(stderr, "model_test: kestaccount has made no account\n");
    return kBroken;
  }
  const unsigned first = Setting("MODEL_SEED", 1), seeds = Setting("MODEL_SEEDS", 4),
                 steps = Setting("MODEL_STEPS", 1000);
  for (unsigned seed = first; seed < first + seeds; ++seed) {
    const Sequence sequence = Random(seed, steps);
    std::fprintf(stderr, "MODEL_SEED=%u MODEL_STEPS=%u\n", seed, steps);
    if (IsSame(sequence, false)) continue;
    const Sequence shortest = Shortened(sequence);
    std::fprintf(stderr, "differs; with %zu of its steps still:\n", shortest.size());
    IsSame(shortest, true);
    return kDiffers;
  }
  return kSame;
}
