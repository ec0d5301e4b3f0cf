#ifndef TARVEL_INTERNAL_MOUNTED_VOLUMES_H
#define TARVEL_INTERNAL_MOUNTED_VOLUMES_H

#include "platform/keststorage.h"

namespace tarvel_internal {

/// The mounted volumes of every location. Not a smart pointer: the platform's release is called for an empty list too.
class MountedVolumes {
 public:
  MountedVolumes() : first_(KESTMountVolInfoEnum(0)) {}
  ~MountedVolumes() { KESTMountVolInfoFree(first_); }
  MountedVolumes(const MountedVolumes&) = delete;
  MountedVolumes& operator=(const MountedVolumes&) = delete;

  const KESTMOUNTVOL* first() const { return first_; }

 private:
  KESTMOUNTVOL* first_;
};

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_MOUNTED_VOLUMES_H
