#include "support/machine.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "support/allocations.h"
#include "support/killed_process.h"

namespace tarvel_test {

namespace {

Machine* current = nullptr;

// Where the library keeps its files and makes folders.
constexpr const char* kFixedPaths[] = {"/tmp/tarvel", "/usr/kest", "/var/services"};

}  // namespace

Machine::Machine(std::string root) : root_(std::move(root)) { current = this; }

Machine::~Machine() { current = nullptr; }

Machine* Machine::Current() { return current; }

void Machine::Note(const std::string& call) {
  DieIfDue();
  const UncountedNew memory;
  calls_.push_back(call);
}

std::vector<std::string> Machine::TakeCalls() { return std::exchange(calls_, {}); }

void Machine::FailAfter(const char* call, int successes, int error_number) {
  faults_.push_back({call, successes, error_number});
}

void Machine::ShortenNextRead(long bytes) { read_limit_ = bytes; }

std::string Machine::RealPath(const std::string& path) const {
  for (const std::string fixed : kFixedPaths) {
    if (path == fixed || path.compare(0, fixed.size() + 1, fixed + "/") == 0) return root_ + path;
  }
  return path;
}

bool Machine::Fails(const char* call) {
  const auto fault =
      std::find_if(faults_.begin(), faults_.end(), [call](const auto& entry) { return entry.call == call; });
  if (fault == faults_.end() || fault->successes-- > 0) return false;
  errno = fault->error_number;
  faults_.erase(fault);
  return true;
}

long Machine::ReadLimit(long wanted) {
  const long limit = std::exchange(read_limit_, -1);
  return limit < 0 ? wanted : std::min(wanted, limit);
}

std::vector<std::string> Machine::UnusedFaults() const {
  std::vector<std::string> calls;
  for (const auto& fault : faults_) calls.push_back(fault.call);
  if (read_limit_ >= 0) calls.emplace_back("read");
  return calls;
}

}  // namespace tarvel_test
