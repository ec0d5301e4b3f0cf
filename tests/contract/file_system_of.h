#ifndef TESTS_CONTRACT_FILE_SYSTEM_OF_H_
#define TESTS_CONTRACT_FILE_SYSTEM_OF_H_

#include <fstream>
#include <string>

/// What the first bytes of a disk or an image say: "fat", "ext2", "ext3", "ext4", or "none".
inline std::string FileSystemOf(const std::string& path) {
  std::string bytes(4096, '\0');
  if (!std::ifstream(path, std::ios::binary).read(&bytes[0], 4096)) return "none";
  const bool is_fat = bytes.substr(0x36, 3) == "FAT" || bytes.substr(0x52, 3) == "FAT";
  if (is_fat && bytes.substr(0x1FE, 2) == "\x55\xAA") return "fat";
  if (bytes.substr(0x438, 2) != "\x53\xEF") return "none";
  const bool has_journal = (bytes[0x45C] & 0x04) != 0, has_extents = (bytes[0x460] & 0x40) != 0;
  return !has_journal ? "ext2" : has_extents ? "ext4" : "ext3";
}

#endif  // TESTS_CONTRACT_FILE_SYSTEM_OF_H_
