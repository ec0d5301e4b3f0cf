#include "support/ledger.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/allocations.h"

namespace tarvel_test {

void Ledger::Take(const char* kind, const void* thing) {
  const UncountedNew memory;
  if (Holds(kind, thing)) ADD_FAILURE() << kind << " taken twice without being given back";
  held_.emplace_back(kind, thing);
}

void Ledger::Give(const char* kind, const void* thing) {
  if (!GiveIfHeld(kind, thing)) ADD_FAILURE() << kind << " given back that is not out";
}

bool Ledger::GiveIfHeld(const char* kind, const void* thing) {
  const UncountedNew memory;
  const auto entry = std::find(held_.begin(), held_.end(), std::pair<std::string, const void*>(kind, thing));
  if (entry == held_.end()) return false;
  returned_.push_back(*entry);
  held_.erase(entry);
  return true;
}

bool Ledger::Holds(const char* kind, const void* thing) const {
  return std::find(held_.begin(), held_.end(), std::pair<std::string, const void*>(kind, thing)) != held_.end();
}

std::vector<const void*> Ledger::Returned(const char* kind) const {
  std::vector<const void*> things;
  for (const auto& entry : returned_) {
    if (entry.first == kind) things.push_back(entry.second);
  }
  return things;
}

std::vector<std::string> Ledger::Outstanding() const {
  std::vector<std::string> kinds;
  for (const auto& entry : held_) kinds.push_back(entry.first);
  return kinds;
}

}  // namespace tarvel_test
