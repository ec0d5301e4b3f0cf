// What the folders in a folder cost, for costs_table.py: half of the entries are files, so that both have something to
// leave out. The yardstick is the pipe of two programs that says the same. Counted is the processor time of this
// process and of those that it starts, which a busy machine changes least.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tarvel/file_share.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kFew = 10, kMany = 1000, kVeryMany = 100000;
constexpr int kMostFiles = 1000;
constexpr char kFind[] = "find . -maxdepth 1 -type d | sort >/dev/null";

// A folder with so many folders, in which the process stands; in memory, where the disk does not count.
class Tree {
 public:
  explicit Tree(int folders) {
    if (mkdtemp(path_.data()) == nullptr || chdir(path_.c_str()) != 0) std::abort();
    for (int i = 0; i < folders; ++i) {
      // Names that are neither in order nor of one case.
      const std::string number = std::to_string((i * 7919LL) % 1000003);
      if (mkdir(((i % 2 != 0 ? "Folder " : "folder ") + number).c_str(), 0700) != 0) std::abort();
      if (i < kMostFiles) close(open(("file " + number).c_str(), O_WRONLY | O_CREAT, 0600));
    }
  }
  ~Tree() {
    if (chdir("/") != 0) std::abort();
    std::filesystem::remove_all(path_);
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/dev/shm/foldersXXXXXX";
};

double Seconds(int whose) {
  struct rusage used = {};
  getrusage(whose, &used);
  return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
         static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
}

double ProcessorSeconds() { return Seconds(RUSAGE_SELF) + Seconds(RUSAGE_CHILDREN); }

int Folders(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

void WfmLibEnumSubDir(benchmark::State& state) {
  const Tree tree(Folders(state));
  TarvelFileShare files;
  for (auto _ : state) {
    const double begin = ProcessorSeconds();
    std::vector<_tag_SUBDIR_ENTRY_INFO_> entries;
    files.WfmLibEnumSubDir(tree.path(), entries);
    if (static_cast<int>(entries.size()) != Folders(state)) state.SkipWithError("not all folders are listed");
    state.SetIterationTime(ProcessorSeconds() - begin);
  }
}

void PlainWfmLibEnumSubDir(benchmark::State& state) {
  const Tree tree(Folders(state));
  for (auto _ : state) {
    const double begin = ProcessorSeconds();
    if (std::system(kFind) != 0) state.SkipWithError("find fails");
    state.SetIterationTime(ProcessorSeconds() - begin);
  }
}

BENCHMARK(PlainWfmLibEnumSubDir)->Arg(kFew)->Arg(kMany)->Arg(kVeryMany)->UseManualTime();
BENCHMARK(WfmLibEnumSubDir)->Arg(kFew)->Arg(kMany)->Arg(kVeryMany)->UseManualTime();

}  // namespace

BENCHMARK_MAIN();
