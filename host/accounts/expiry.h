#ifndef KEST_HOST_ACCOUNTS_EXPIRY_H_
#define KEST_HOST_ACCOUNTS_EXPIRY_H_

#include <stddef.h>

namespace kest {

// The expiry day of an account is the last on which it is valid, in days since the epoch (UTC). 0 and 1 are what
// disabled accounts have; negative means never.
constexpr int kNeverExpires = -1;
constexpr int kDisabledDay = 1;
constexpr int kFirstRealDay = 2;

bool IsExpiredDay(int day);

// "2026/11/20" of a day from kFirstRealDay on, "" of a negative one. False when the day has no date, or `size` bytes do
// not hold it.
bool DateOfDay(int day, char* buf, size_t size);

// The day of a date in that form; "" is kNeverExpires. False, `day` untouched, when the text is no date of the
// calendar, is not written with four, two and two digits, or lies before kFirstRealDay.
bool DayOfDate(const char* date, int* day);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_EXPIRY_H_
