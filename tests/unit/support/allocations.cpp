#include "support/allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

extern "C" {
void* RealMallocForNew(size_t bytes) __asm__("__real_malloc");
void RealFreeForDelete(void* block) __asm__("__real_free");
}

namespace {

constexpr int kNever = -1;
int successes_left = kNever;
long live = 0;

void* Allocate(size_t bytes) {
  if (successes_left == 0) {
    successes_left = kNever;
    throw std::bad_alloc();
  }
  if (successes_left > 0) --successes_left;
  void* block = RealMallocForNew(bytes != 0 ? bytes : 1);
  if (block == nullptr) throw std::bad_alloc();
  ++live;
  return block;
}

void Release(void* block) {
  if (block == nullptr) return;
  --live;
  RealFreeForDelete(block);
}

}  // namespace

void* operator new(size_t bytes) { return Allocate(bytes); }
void* operator new[](size_t bytes) { return Allocate(bytes); }
void operator delete(void* block) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete(void* block, size_t) noexcept { Release(block); }
void operator delete[](void* block, size_t) noexcept { Release(block); }

namespace tarvel_test {

FailingNew::FailingNew(int successes) { successes_left = successes; }

FailingNew::~FailingNew() { successes_left = kNever; }

SteadyNew::SteadyNew() : successes_(std::exchange(successes_left, kNever)) {}

SteadyNew::~SteadyNew() { successes_left = successes_; }

long LiveAllocations() { return live; }

}  // namespace tarvel_test
