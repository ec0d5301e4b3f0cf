#include "access_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace site {
namespace {

constexpr off_t kMostRead_bytes = 16 * 1024 * 1024;
constexpr size_t kPiece_bytes = 64 * 1024;
constexpr size_t kHead_bytes = 128;  // an address and a time are shorter
constexpr int64_t kHour_s = 3600;

class File {
 public:
  // Without waiting, should the name be a pipe's.
  explicit File(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    missing_ = descriptor_ < 0 && errno == ENOENT;
    regular_ = descriptor_ >= 0 && fstat(descriptor_, &state_) == 0 && S_ISREG(state_.st_mode);
  }
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  bool Missing() const { return missing_; }
  bool Regular() const { return regular_; }
  off_t Size() const { return state_.st_size; }
  bool IsSameAs(const File& other) const {
    return state_.st_dev == other.state_.st_dev && state_.st_ino == other.state_.st_ino;
  }
  ssize_t ReadAt(off_t place, char* buffer, size_t size) const { return pread(descriptor_, buffer, size, place); }

 private:
  int descriptor_;
  struct stat state_ = {};
  bool missing_ = false;
  bool regular_ = false;
};

// Reads `count` digits as a number within bounds.
bool TakeNumber(std::string_view& text, size_t count, int least, int most, int& out) {
  if (text.size() < count) return false;
  int number = 0;
  for (const char digit : text.substr(0, count)) {
    if (digit < '0' || digit > '9') return false;
    number = number * 10 + (digit - '0');
  }
  text.remove_prefix(count);
  out = number;
  return number >= least && number <= most;
}

bool TakeCharacter(std::string_view& text, std::string_view wanted, char& out) {
  if (text.empty() || wanted.find(text.front()) == std::string_view::npos) return false;
  out = text.front();
  text.remove_prefix(1);
  return true;
}

// "2026-11-20T18:05:01+0100" and a blank.
bool ParseTime(std::string_view text, int64_t& out) {
  tm moment = {};
  int year = 0, month = 0, hours = 0, minutes = 0;
  char sign = '+', mark;
  const bool parsed =
      TakeNumber(text, 4, 1970, 9999, year) && TakeCharacter(text, "-", mark) && TakeNumber(text, 2, 1, 12, month) &&
      TakeCharacter(text, "-", mark) && TakeNumber(text, 2, 1, 31, moment.tm_mday) && TakeCharacter(text, "T", mark) &&
      TakeNumber(text, 2, 0, 23, moment.tm_hour) && TakeCharacter(text, ":", mark) &&
      TakeNumber(text, 2, 0, 59, moment.tm_min) && TakeCharacter(text, ":", mark) &&
      TakeNumber(text, 2, 0, 60, moment.tm_sec) && TakeCharacter(text, "+-", sign) &&
      TakeNumber(text, 2, 0, 14, hours) && TakeNumber(text, 2, 0, 59, minutes) && TakeCharacter(text, " ", mark);
  if (!parsed) return false;
  moment.tm_year = year - 1900;
  moment.tm_mon = month - 1;
  const int offset_s = (hours * 60 + minutes) * 60;
  out = int64_t{timegm(&moment)} - (sign == '+' ? offset_s : -offset_s);
  return true;
}

// The second word of a line.
bool TimeOfLine(std::string_view head, int64_t& out) {
  const size_t blank = head.find(' ');
  return blank != std::string_view::npos && ParseTime(head.substr(blank + 1), out);
}

class Counter {
 public:
  Counter(time_t now, long zone_offset) : now_(now), zone_offset_(zone_offset) {
    first_hour_ = HourOf(now) - kHoursCounted + 1;
  }

  // Counts the lines of the file's last `budget` bytes. False when something before them was not read.
  bool Read(const File& file, off_t budget) {
    off_t place = std::max<off_t>(0, file.Size() - budget);
    const bool whole = place == 0;
    in_head_ = whole;  // otherwise the first line is cut
    head_size_ = 0;
    at_begin_ = true;
    while (place < file.Size()) {
      const size_t wanted = std::min<size_t>(kPiece_bytes, static_cast<size_t>(file.Size() - place));
      const ssize_t got = file.ReadAt(place, piece_.get(), wanted);
      if (got <= 0) return whole && got == 0;  // cut short meanwhile, or unreadable
      Split({piece_.get(), static_cast<size_t>(got)});
      place += got;
    }
    CountLine();
    return whole;
  }

  RequestsPerHour Result(bool complete) const {
    RequestsPerHour result;
    result.count = count_;
    if (complete) return result;
    // The hour in which the reading began is only partly there.
    result.first_known = static_cast<int>(std::clamp<int64_t>(begin_hour_ + 1 - first_hour_, 0, kHoursCounted));
    return result;
  }

 private:
  int64_t HourOf(int64_t time) const { return (time + zone_offset_) / kHour_s; }

  // Of each line only the head is kept, however long it is.
  void Split(std::string_view piece) {
    while (!piece.empty()) {
      const size_t end = std::min(piece.find('\n'), piece.size());
      if (in_head_) {
        const size_t taken = std::min(end, kHead_bytes - head_size_);
        memcpy(head_ + head_size_, piece.data(), taken);
        head_size_ += taken;
      }
      if (end == piece.size()) return;
      CountLine();
      in_head_ = true;
      piece.remove_prefix(end + 1);
    }
  }

  void CountLine() {
    int64_t time;
    if (TimeOfLine({head_, head_size_}, time) && time <= now_) {
      const int64_t hour = HourOf(time);
      if (at_begin_) begin_hour_ = hour;
      at_begin_ = false;
      if (hour >= first_hour_) ++count_[static_cast<size_t>(hour - first_hour_)];
    }
    head_size_ = 0;
  }

  int64_t now_;
  int64_t zone_offset_;
  int64_t first_hour_;
  int64_t begin_hour_ = INT64_MAX - 1;  // of the first line, not the earliest: a clock may have been set back
  std::array<int64_t, kHoursCounted> count_{};
  std::unique_ptr<char[]> piece_{new char[kPiece_bytes]};
  char head_[kHead_bytes];
  size_t head_size_ = 0;
  bool in_head_ = true;
  bool at_begin_ = true;
};

// What was the log before the last rotation; nothing when there was none, or when it took place just now.
bool ReadRotated(const char* path, const File& log, Counter& counter) {
  const File rotated((std::string(path) + ".1").c_str());
  if (rotated.Missing() || (rotated.Regular() && rotated.IsSameAs(log))) return true;
  return rotated.Regular() && counter.Read(rotated, kMostRead_bytes - log.Size());
}

}  // namespace

AccessLog CountRequests(const char* path, time_t now, long zone_offset, RequestsPerHour& requests) {
  const File log(path);
  if (log.Missing()) return AccessLog::kMissing;
  if (!log.Regular()) return AccessLog::kUnreadable;
  Counter counter(now, zone_offset);
  const bool complete = counter.Read(log, kMostRead_bytes) && ReadRotated(path, log, counter);
  requests = counter.Result(complete);
  return AccessLog::kRead;
}

}  // namespace site
