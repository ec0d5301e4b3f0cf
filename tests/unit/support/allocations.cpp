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
int uncounted = 0;

void* Allocate(size_t bytes) {
  if (successes_left == 0 && uncounted == 0) {
    successes_left = kNever;
    throw std::bad_alloc();
  }
  if (successes_left > 0 && uncounted == 0) --successes_left;
  void* block = RealMallocForNew(bytes != 0 ? bytes : 1);
  if (block == nullptr) throw std::bad_alloc();
  if (uncounted == 0) ++live;
  return block;
}

void* AllocateOrNull(size_t bytes) noexcept {
  try {
    return Allocate(bytes);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void Release(void* block) {
  if (block == nullptr) return;
  if (uncounted == 0) --live;
  RealFreeForDelete(block);
}

}  // namespace

void* operator new(size_t bytes) { return Allocate(bytes); }
void* operator new[](size_t bytes) { return Allocate(bytes); }
// Named too: a sanitizer has ones of its own, which do not come here.
void* operator new(size_t bytes, const std::nothrow_t&) noexcept { return AllocateOrNull(bytes); }
void* operator new[](size_t bytes, const std::nothrow_t&) noexcept { return AllocateOrNull(bytes); }
void operator delete(void* block) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete(void* block, size_t) noexcept { Release(block); }
void operator delete[](void* block, size_t) noexcept { Release(block); }

namespace tarvel_test {

FailingNew::FailingNew(int successes) { successes_left = successes; }

FailingNew::~FailingNew() { successes_left = kNever; }

SteadyNew::SteadyNew() : successes_(std::exchange(successes_left, kNever)) {}

SteadyNew::~SteadyNew() { successes_left = successes_; }

UncountedNew::UncountedNew() { ++uncounted; }

UncountedNew::~UncountedNew() { --uncounted; }

long LiveAllocations() { return live; }

}  // namespace tarvel_test
