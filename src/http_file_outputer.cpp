#include "http_file_outputer.h"

#include <stdio_ext.h>
#include <strings.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

#include "internal/log.h"
#include "platform/klib.h"

namespace {

constexpr char kLogSource[] = "http_file_outputer";

constexpr char kTypeTable[] = "/usr/kest/etc.defaults/mimetypes.txt";
constexpr char kUnknownType[] = "application/octet-stream";
constexpr char kRangeUnit[] = "bytes=";
constexpr size_t kRangeUnitBytes = sizeof kRangeUnit - 1;
constexpr int kRangeListBytes = 1024;
constexpr long long kUnknownSize = 9223372036854775807LL;
constexpr unsigned long long kGreatestOffset = 9223372036854775807ULL;
constexpr size_t kChunkBytes = 8192;
constexpr int kWriteWaitSeconds = 3600;

using Segment = _tag_HTTP_RANGE_SEGMENT;
static_assert(sizeof(Segment) == 16);

// For texts and segments, and for the platform's lists too: a list is one block.
struct FreeBlock {
  void operator()(void* block) const { std::free(block); }
};
using Text = std::unique_ptr<char, FreeBlock>;
using Segments = std::unique_ptr<Segment[], FreeBlock>;
using RangeList = std::unique_ptr<KLIBSZLIST, FreeBlock>;

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// Unsigned, because a start far below zero would overflow; the difference is the same.
long long LengthOf(const Segment& segment) {
  return static_cast<long long>(static_cast<unsigned long long>(segment.end) -
                                static_cast<unsigned long long>(segment.start) + 1);
}

// The number that fills the text up to `end`; false also when it is beyond every offset.
bool ReadOffset(const char* text, const char* end, long long& offset) {
  char* behind = nullptr;
  const unsigned long long number = std::strtoull(text, &behind, 10);
  if (behind != end || number > kGreatestOffset) return false;
  offset = static_cast<long long>(number);
  return true;
}

bool ReadSuffix(const char* text, long long file_size, Segment& segment) {
  char* behind = nullptr;
  const unsigned long long bytes = std::strtoull(text, &behind, 10);
  if (*behind != '\0') return false;
  // A suffix longer than the file makes a negative start, deliberately: the reply then fails at its seek.
  segment.start = static_cast<long long>(static_cast<unsigned long long>(file_size) - bytes);
  segment.end = file_size - 1;
  return true;
}

bool ReadRange(const char* text, long long file_size, Segment& segment) {
  const char* dash = std::strchr(text, '-');
  if (dash == nullptr) return false;
  const char* last = dash + 1;
  if (dash == text) return ReadSuffix(last, file_size, segment);
  if (!ReadOffset(text, dash, segment.start)) return false;
  if (*last != '\0') return ReadOffset(last, last + std::strlen(last), segment.end);
  segment.end = file_size - 1;
  return true;
}

std::string MakeBoundary() {
  char boundary[2 * 2 * sizeof(unsigned long) + 1];
  const auto process = static_cast<unsigned long>(getpid());
  std::snprintf(boundary, sizeof boundary, "%lx%lx", process, static_cast<unsigned long>(std::time(nullptr)));
  return boundary;
}

std::string ContentLength(long long bytes) { return "Content-Length: " + std::to_string(bytes) + "\r\n"; }

void Print(const std::string& text) { std::printf("%s", text.c_str()); }

// A reply as it was decided on, before anything is written.
struct Reply {
  std::string type;
  long long size;
  int ranges;  // as SeekHttpRange() told it
  Segments segments;
  int count;
  std::string boundary;

  // What stands before one segment's bytes.
  std::string HeadOf(const Segment& segment) const {
    std::string head;
    if (count > 1) head = "\r\n--" + boundary + "\r\n";
    head += "Content-Type: " + type + "\r\n";
    if (ranges != 0) {
      head += "Content-Range: bytes " + std::to_string(segment.start) + "-" + std::to_string(segment.end) + "/" +
              std::to_string(size) + "\r\n";
    }
    return head + "\r\n";
  }
  std::string Tail() const { return "\r\n--" + boundary + "--\r\n"; }

  long long MultipartLength() const {
    auto bytes = static_cast<unsigned long long>(Tail().size());
    for (int i = 0; i < count; ++i) {
      bytes += HeadOf(segments[static_cast<size_t>(i)]).size();
      bytes += static_cast<unsigned long long>(LengthOf(segments[static_cast<size_t>(i)]));
    }
    return static_cast<long long>(bytes);
  }

  // The lines above those that each segment has.
  void PrintTop() const {
    if (ranges > 0) Print("Status: 206 Partial Content\r\n");
    // The whole file follows it, deliberately: a client that asked for nonsense still gets what it wanted.
    if (ranges < 0) Print("Status: 416 Requested Range Not Satisfiable\r\n");
    if (count > 1) {
      Print("Content-Type: multipart/byteranges; boundary=" + boundary + "\r\n");
      Print(ContentLength(MultipartLength()) + "\r\n");
    } else if (segments[0].end != kUnknownSize - 1) {
      Print(ContentLength(LengthOf(segments[0])));
    }
  }
};

// Waits until the stream takes data. False when it does not within the hour, and when the wait fails or is interrupted.
bool WaitUntilWritable(FILE* out) {
  const int fd = fileno(out);
  fd_set writable;
  FD_ZERO(&writable);
  if (fd < 0 || fd >= FD_SETSIZE) {
    errno = EBADF;  // nothing that select could wait for
  } else {
    FD_SET(fd, &writable);
    struct timeval limit = {kWriteWaitSeconds, 0};
    const int ready = select(fd + 1, nullptr, &writable, nullptr, &limit);
    if (ready < 1) {
      LogError("%s(%d): write blocked over %d seconds, return=%d, errno=%s", kWriteWaitSeconds, ready,
               std::strerror(errno));
      return false;
    }
    if (FD_ISSET(fd, &writable)) return true;
  }
  LogError("%s(%d): failed to wait for file descriptor, errno=%s", std::strerror(errno));
  return false;
}

// With the usual buffer of 4096 bytes a chunk would leave in two writes. Without any it is one, is not copied on the
// way, and its failure shows where it is written.
void LetChunksLeaveInOneWrite(FILE* out) {
  if (out == stdout && __fbufsize(out) < kChunkBytes) std::setvbuf(out, nullptr, _IONBF, 0);
}

}  // namespace

int HTTPFileOutputer::Output(const char* path, const char* contentType) {
  const File file(path != nullptr ? std::fopen(path, "rb") : nullptr);
  return file ? Output(file.get(), path, contentType) : -1;
}

int HTTPFileOutputer::Output(FILE* fp, const char* name, const char* contentType) {
  Reply reply;
  if (contentType != nullptr) {
    reply.type = contentType;
  } else {
    reply.type = GetMimeType(name);
  }
  struct stat info;
  const bool is_regular = fstat(fileno(fp), &info) == 0 && S_ISREG(info.st_mode);
  reply.size = is_regular ? static_cast<long long>(info.st_size) : kUnknownSize;

  Segment* segments = nullptr;
  reply.ranges = is_regular ? SeekHttpRange(&segments, reply.size) : 0;
  reply.segments.reset(segments);
  reply.count = reply.ranges;
  if (reply.ranges > 1) reply.boundary = MakeBoundary();
  if (reply.ranges < 1) {
    reply.segments.reset();
    reply.segments.reset(static_cast<Segment*>(std::malloc(sizeof(Segment))));
    if (!reply.segments) return -1;
    reply.segments[0] = {0, reply.size - 1};
    reply.count = 1;
  }

  reply.PrintTop();
  for (int i = 0; i < reply.count; ++i) {
    const Segment& segment = reply.segments[static_cast<size_t>(i)];
    Print(reply.HeadOf(segment));
    std::fflush(stdout);
    // DumpFile() does not seek to 0, for the sake of pipes.
    if (i > 0 && segment.start == 0 && fseeko(fp, 0, SEEK_SET) != 0) return -1;
    if (DumpFile(fp, stdout, segment.start, LengthOf(segment)) != 0) return -1;
  }
  if (reply.count > 1) Print(reply.Tail());
  return 0;
}

std::string HTTPFileOutputer::GetMimeType(const char* name) {
  const char* dot = name != nullptr ? std::strrchr(name, '.') : nullptr;
  if (dot == nullptr || dot[1] == '\0') return kUnknownType;
  const File table(std::fopen(kTypeTable, "r"));
  if (!table) return kUnknownType;
  char extension[4096];
  char type[4096];
  int words;
  while ((words = std::fscanf(table.get(), "%4095s %4095s", extension, type)) != EOF) {
    if (words == 2 && strcasecmp(extension, dot + 1) == 0) return type;
  }
  return kUnknownType;
}

int HTTPFileOutputer::SeekHttpRange(_tag_HTTP_RANGE_SEGMENT** segments, long long fileSize) {
  if (segments == nullptr) return 0;
  *segments = nullptr;
  const char* header = std::getenv("HTTP_RANGE");
  if (header == nullptr || strncasecmp(header, kRangeUnit, kRangeUnitBytes) != 0) return 0;

  PSZLIST pieces = PslKLIBSzListAlloc(kRangeListBytes);
  if (pieces == nullptr) {
    LogError("%s(%d): PslKLIBSzListAlloc() failed!");
    return -2;
  }
  const int count = KLIBStrTok(header + kRangeUnitBytes, ",", &pieces);
  const RangeList list(pieces);
  if (count < 0) {
    LogError("%s(%d): KLIBStrTok() failed!");
    return -2;
  }
  if (count == 0) return 0;

  const auto items = static_cast<size_t>(count);
  *segments = static_cast<Segment*>(std::malloc(items * sizeof(Segment)));
  if (*segments == nullptr) {
    LogError("%s(%d): malloc for %d HTTP_RANGE_SEGMENT items failed!", count);
    return -2;
  }
  for (size_t i = 0; i < items; ++i) {
    char* piece = SzKLIBSzListGet(list.get(), static_cast<int>(i));
    KLIBStrTrimSpace(piece, nullptr);
    if (GetRangeSegment(piece, fileSize, *segments + i) != 1) return -1;
  }
  return count;
}

int HTTPFileOutputer::GetRangeSegment(const char* range, long long fileSize, _tag_HTTP_RANGE_SEGMENT* segment) {
  if (range == nullptr || segment == nullptr) return 0;
  const Text text(strdup(range));
  if (!text) {
    LogError("%s(%d): failed to malloc for string: %s", range);
    return 0;
  }
  if (!ReadRange(text.get(), fileSize, *segment)) return 0;
  segment->end = std::min(segment->end, fileSize - 1);
  return segment->start > segment->end ? -1 : 1;
}

int HTTPFileOutputer::DumpFile(FILE* in, FILE* out, long long offset, long long length) {
  if (offset != 0 && fseeko(in, static_cast<off_t>(offset), SEEK_SET) != 0) {
    LogError("%s(%d): fseeko failed, offset=%lld errno=%s", offset, std::strerror(errno));
    return -1;
  }
  LetChunksLeaveInOneWrite(out);
  char chunk[kChunkBytes];
  long long remaining = length;
  while (!std::feof(in)) {
    const long long wanted = std::clamp(remaining, 0LL, static_cast<long long>(sizeof chunk));
    const size_t got = std::fread(chunk, 1, static_cast<size_t>(wanted), in);
    if (!WaitUntilWritable(out)) return -1;
    // What a buffer took in may have failed on its way out of it.
    if (std::fwrite(chunk, 1, got, out) != got || std::ferror(out) != 0) {
      LogError("%s(%d): failed to write errno=%s", std::strerror(errno));
      return -1;
    }
    // Unchecked, deliberately: the next write tells.
    std::fflush(out);
    remaining -= static_cast<long long>(got);
    // Nothing read and no end: an error of the file, which would stay for ever.
    if (remaining <= 0 || got == 0) break;
  }
  return 0;
}
