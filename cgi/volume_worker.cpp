#include "volume_worker.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <vector>

#include "descriptor.h"

namespace site {

namespace {

constexpr char kMakeFileSystem[] = "/usr/sbin/mkfs.ext4";
constexpr int64_t kPiece = 1024 * 1024;
// What the writing is of the whole; the file system is the rest.
constexpr int kWritten = 90;
constexpr int kOnDisk = 95;

class Progress {
 public:
  Progress(Tarvel& request, const VolumeImage& image) : request_(request) {
    record_["pid"] = Json::UInt(getpid());
    record_["vol_path"] = image.volume_path;
    record_["action"] = kCreateVolume;
    record_["in_progress_devpath"] = image.Path();
    record_["status"] = kInProgress;
    record_["step"] = 0;
  }

  void Begin() { Write(); }

  void Reach(int step) {
    if (record_["step"] == step) return;
    record_["step"] = step;
    Write();
  }

  void End() {
    record_["status"] = kDone;
    Reach(100);
  }

  void Fail(const char* key, int line) {
    record_["status"] = kFailed;
    record_["errno"]["section"] = "volumes";
    record_["errno"]["key"] = key;
    record_["errno"]["line"] = line;
    Write();
  }

 private:
  // That a record cannot be written is no reason to stop: who looks sees the step before.
  void Write() { request_.WriteModuleData(kVolumeRecord, record_); }

  Tarvel& request_;
  Json::Value record_;
};

// errno of what went wrong, 0 for nothing.
int WriteZeros(int fd, int64_t bytes, Progress& progress) {
  static const std::vector<char> zeros(kPiece);
  for (int64_t done = 0; done < bytes;) {
    const auto piece = static_cast<size_t>(std::min(kPiece, bytes - done));
    const ssize_t written = write(fd, zeros.data(), piece);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    done += written;
    progress.Reach(static_cast<int>(done * kWritten / bytes));
  }
  return fsync(fd) == 0 ? 0 : errno;
}

// No shell; the path is one argument.
bool MakeFileSystem(const std::string& path) {
  std::string arguments[] = {kMakeFileSystem, "-qF", path};
  char* pointers[std::size(arguments) + 1] = {};
  for (size_t i = 0; i < std::size(arguments); ++i) pointers[i] = arguments[i].data();
  char search[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin", locale[] = "LC_ALL=C";
  char* const environment[] = {search, locale, nullptr};
  pid_t process = 0;
  if (posix_spawn(&process, kMakeFileSystem, nullptr, nullptr, pointers, environment) != 0) return false;
  int status = -1;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

const char* KeyOf(int error) {
  if (error == ENOSPC || error == EDQUOT || error == EFBIG) return "error_build_no_room";
  return error == EEXIST ? "error_build_exists" : "error_build_not_written";
}

}  // namespace

void RecordBeginning(Tarvel& request, const VolumeImage& image) { Progress(request, image).Begin(); }

void BuildVolume(Tarvel& request, const VolumeImage& image) {
  Progress progress(request, image);
  progress.Begin();
  const std::string path = image.Path();
  mkdir(image.folder.c_str(), 0755);
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file.IsOpen()) return progress.Fail(KeyOf(errno), __LINE__);
  const int error = WriteZeros(file.get(), image.bytes, progress);
  if (error != 0) {
    unlink(path.c_str());
    return progress.Fail(KeyOf(error), __LINE__);
  }
  progress.Reach(kOnDisk);
  if (!MakeFileSystem(path)) {
    unlink(path.c_str());
    return progress.Fail("error_build_no_file_system", __LINE__);
  }
  // What the file system leaves empty it gives back; the new volume keeps its room.
  const int room = posix_fallocate(file.get(), 0, image.bytes);
  if (room != 0) {
    unlink(path.c_str());
    return progress.Fail(KeyOf(room), __LINE__);
  }
  progress.End();
}

}  // namespace site
