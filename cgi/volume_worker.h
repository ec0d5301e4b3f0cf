// The worker of the demonstration that builds a volume, and says how far it is as Volume::ReadActionFile() reads it.
#ifndef CGI_VOLUME_WORKER_H
#define CGI_VOLUME_WORKER_H

#include <tarvel/tarvel.h>

#include <cstdint>
#include <string>

namespace site {

/// What is built: a file on a volume, with a file system on it, that can be mounted as another volume.
struct VolumeImage {
  std::string folder;       ///< of the file; made when it is not there
  std::string file;         ///< its name in there
  std::string volume_path;  ///< of the volume that it is to be: "/volume2"
  int64_t bytes;

  std::string Path() const { return folder + "/" + file; }
};

/// The worker's numbers in the record "volume". Its step is what is done of the whole, in percent.
inline constexpr char kVolumeRecord[] = "volume";
enum VolumeAction { kCreateVolume = 1 };
enum VolumeStatus { kInProgress = 1, kDone = 2, kFailed = 3 };

/// Records that this process has begun.
void RecordBeginning(Tarvel& request, const VolumeImage& image);

/// Writes the file, makes the file system and records each step. After a failure the record holds its words, and the
/// file is removed.
void BuildVolume(Tarvel& request, const VolumeImage& image);

}  // namespace site

#endif  // CGI_VOLUME_WORKER_H
